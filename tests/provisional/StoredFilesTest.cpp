#include "provisional/StoredFiles.h"

#include "domain/AppSettingsCoding.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumivane {

class StoredFilesTest : public testing::Test {
protected:
    StoredFilesTest() {
        qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
        qputenv("XDG_DATA_HOME", folder.path().toUtf8());
        QDir(folder.path()).mkdir(u"lumivane"_qs);
    }

    void write(const QString& name, const QByteArray& contents) {
        QFile file(folder.filePath(u"lumivane/"_qs + name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }

    QTemporaryDir folder;
};

TEST_F(StoredFilesTest, WithoutAFileTheSetupCountsAsFinished) {
    AppSettings expected;
    expected.configured = true;
    EXPECT_EQ(StoredFiles::settings(), expected);
    EXPECT_EQ(StoredFiles::applicationInformation(), ApplicationInformation());
}

TEST_F(StoredFilesTest, StoredSettingsAreRead) {
    AppSettings stored;
    stored.configured = true;
    stored.preset = Preset::mcq;
    stored.dwellSeconds = 1.25;
    write(u"settings.json"_qs, writeJson(JsonCoding<AppSettings>::encode(stored)));
    EXPECT_EQ(StoredFiles::settings(), stored);
}

TEST_F(StoredFilesTest, GarbageCountsAsNoFile) {
    for (const QByteArray& garbage : {QByteArray(), QByteArray("{"), QByteArray("[]"),
                                      QByteArray("\xff\xfe"), QByteArray(2000, '[')}) {
        write(u"settings.json"_qs, garbage);
        write(u"info.json"_qs, garbage);
        EXPECT_EQ(StoredFiles::settings().preset, Preset::summary);
        EXPECT_EQ(StoredFiles::applicationInformation(), ApplicationInformation());
    }
}

TEST_F(StoredFilesTest, TheInformationNamesTheService) {
    write(u"info.json"_qs, R"({"LumivaneAPIBaseURL": "http://127.0.0.1:9"})");
    EXPECT_EQ(StoredFiles::applicationInformation().LumivaneAPIBaseURL, u"http://127.0.0.1:9"_qs);
    EXPECT_EQ(StoredFiles::developmentTokenFile(),
              folder.filePath(u"lumivane-service/development-token"_qs));
}

} // namespace lumivane
