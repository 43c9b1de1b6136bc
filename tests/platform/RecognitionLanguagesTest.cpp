#include "platform/linux/RecognitionLanguages.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumivane {

class RecognitionLanguagesTest : public testing::Test {
protected:
    void install(const QStringList& languages) {
        for (const QString& language : languages) {
            QFile file(folder.filePath(language + u".traineddata"_qs));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        }
    }

    QStringList fitting(const QStringList& locales) const {
        return RecognitionLanguages::fitting(folder.path(), locales);
    }

    QTemporaryDir folder;
};

TEST_F(RecognitionLanguagesTest, GermanUserWithGermanInstalledReadsEnglishAndGerman) {
    install({u"eng"_qs, u"deu"_qs, u"fra"_qs});
    EXPECT_EQ(fitting({u"de_DE"_qs}), QStringList({u"eng"_qs, u"deu"_qs}));
    EXPECT_EQ(fitting({u"de-AT"_qs}), QStringList({u"eng"_qs, u"deu"_qs}));
}

TEST_F(RecognitionLanguagesTest, LanguageThatIsNotInstalledIsLeftOut) {
    install({u"eng"_qs});
    EXPECT_EQ(fitting({u"de_DE"_qs}), QStringList{u"eng"_qs});
}

TEST_F(RecognitionLanguagesTest, EveryLocaleOfTheUserCountsOnceInOrder) {
    install({u"eng"_qs, u"deu"_qs, u"fra"_qs});
    EXPECT_EQ(fitting({u"fr-CH"_qs, u"de-CH"_qs, u"en-GB"_qs, u"fr"_qs}),
              QStringList({u"eng"_qs, u"fra"_qs, u"deu"_qs}));
}

TEST_F(RecognitionLanguagesTest, ScriptDecidesBetweenTwoFilesOfOneLanguage) {
    install({u"chi_sim"_qs, u"chi_tra"_qs, u"srp"_qs, u"srp_latn"_qs});
    EXPECT_EQ(fitting({u"zh-CN"_qs}), QStringList({u"eng"_qs, u"chi_sim"_qs}));
    EXPECT_EQ(fitting({u"zh-Hant-TW"_qs}), QStringList({u"eng"_qs, u"chi_tra"_qs}));
    EXPECT_EQ(fitting({u"sr-Latn-RS"_qs}), QStringList({u"eng"_qs, u"srp"_qs, u"srp_latn"_qs}));
}

TEST_F(RecognitionLanguagesTest, NorwegianHasOneFileForBothForms) {
    install({u"nor"_qs});
    EXPECT_EQ(fitting({u"nb-NO"_qs, u"nn-NO"_qs}), QStringList({u"eng"_qs, u"nor"_qs}));
}

TEST_F(RecognitionLanguagesTest, EnglishIsNamedWhateverIsInstalledOrAsked) {
    EXPECT_EQ(fitting({}), QStringList{u"eng"_qs});
    EXPECT_EQ(fitting({u"C"_qs, u""_qs, u"no such locale"_qs}), QStringList{u"eng"_qs});
}

TEST_F(RecognitionLanguagesTest, FolderNamedInTheEnvironmentWins) {
    const QByteArray before = qgetenv("TESSDATA_PREFIX");
    qputenv("TESSDATA_PREFIX", folder.path().toUtf8());
    EXPECT_EQ(RecognitionLanguages::dataFolder(), folder.path());
    qunsetenv("TESSDATA_PREFIX");
    EXPECT_TRUE(RecognitionLanguages::isInstalled(RecognitionLanguages::dataFolder(), u"eng"_qs));
    if (!before.isNull()) {
        qputenv("TESSDATA_PREFIX", before);
    }
}

} // namespace lumivane
