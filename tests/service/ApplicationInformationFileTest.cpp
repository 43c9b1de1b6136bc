#include "service/ApplicationInformationFile.h"

#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace lumivane {

class ApplicationInformationFileTest : public testing::Test {
protected:
    QString path(const QString& name) const { return folder.filePath(name); }

    QString write(const QString& name, const QByteArray& text) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
        return file.fileName();
    }

    /// What a single file with that text says.
    ApplicationInformation read(const QByteArray& text) const {
        return ApplicationInformationFile::load({write(u"one.json"_qs, text)});
    }

    int complaints() const {
        return log.countStartingWith("A file of application information was ignored; errorType=");
    }

    int keyComplaints() const {
        return log.countStartingWith("A key of application information was ignored; errorType=");
    }

    static ApplicationInformation information(std::optional<QString> version,
                                              std::optional<QString> url) {
        return {.CFBundleShortVersionString = std::move(version),
                .LumivaneAPIBaseURL = std::move(url)};
    }

    test::LogCapture log;
    QTemporaryDir folder;
};

TEST_F(ApplicationInformationFileTest, BothKeysAreRead) {
    EXPECT_EQ(read(R"({"CFBundleShortVersionString":"0.3.0","LumivaneAPIBaseURL":"https://a.b"})"),
              information(u"0.3.0"_qs, u"https://a.b"_qs));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ApplicationInformationFileTest, AKeyThatIsAbsentOrNullIsNone) {
    EXPECT_EQ(read("{}"), ApplicationInformation());
    EXPECT_EQ(read(R"({"CFBundleShortVersionString":null})"), ApplicationInformation());
    EXPECT_EQ(read(R"({"LumivaneAPIBaseURL":""})"), information(std::nullopt, u""_qs));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ApplicationInformationFileTest, OtherKeysAreIgnored) {
    EXPECT_EQ(read(R"({"cfbundleshortversionstring":"1","Other":[{}],)"
                   R"("CFBundleShortVersionString":"2"})"),
              information(u"2"_qs, std::nullopt));
}

TEST_F(ApplicationInformationFileTest, LaterFilesReplaceKeyByKey) {
    const QStringList paths{
        write(u"a"_qs, R"({"CFBundleShortVersionString":"1","LumivaneAPIBaseURL":"https://a"})"),
        write(u"b"_qs, R"({"LumivaneAPIBaseURL":"https://b"})"),
        write(u"c"_qs, R"({"LumivaneAPIBaseURL":null})")};
    EXPECT_EQ(ApplicationInformationFile::load(paths), information(u"1"_qs, u"https://b"_qs));
}

TEST_F(ApplicationInformationFileTest, FilesThatAreNotThereCountForNothingWithoutAWord) {
    EXPECT_EQ(ApplicationInformationFile::load({}), ApplicationInformation());
    EXPECT_EQ(ApplicationInformationFile::load(
                  {path(u"none"_qs), write(u"a"_qs, R"({"CFBundleShortVersionString":"1"})"),
                   path(u"no/such/folder"_qs)}),
              information(u"1"_qs, std::nullopt));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ApplicationInformationFileTest, AWrongTypeSpoilsItsKeyAndNoOther) {
    const QString good =
        write(u"good"_qs, R"({"CFBundleShortVersionString":"1","LumivaneAPIBaseURL":"https://a"})");
    for (const char* value : {"1", "true", "[]", "{}", "1.5", "[\"https://b\"]"}) {
        const QString badURL =
            write(u"url"_qs, QByteArray(R"({"CFBundleShortVersionString":"2",)") +
                                 R"("LumivaneAPIBaseURL":)" + QByteArray(value) + "}");
        EXPECT_EQ(ApplicationInformationFile::load({good, badURL}),
                  information(u"2"_qs, u"https://a"_qs))
            << value;
        const QString badVersion =
            write(u"version"_qs, QByteArray(R"({"LumivaneAPIBaseURL":"https://b",)") +
                                     R"("CFBundleShortVersionString":)" + QByteArray(value) + "}");
        EXPECT_EQ(ApplicationInformationFile::load({good, badVersion}),
                  information(u"1"_qs, u"https://b"_qs))
            << value;
        EXPECT_EQ(ApplicationInformationFile::load({badVersion}),
                  information(std::nullopt, u"https://b"_qs))
            << value;
    }
    EXPECT_EQ(keyComplaints(), 18);
    EXPECT_EQ(complaints(), 0);
}

TEST_F(ApplicationInformationFileTest, AKeyThatStandsThereTwiceCountsForNothing) {
    EXPECT_EQ(read(R"({"CFBundleShortVersionString":"1","LumivaneAPIBaseURL":"https://a",)"
                   R"("CFBundleShortVersionString":"2"})"),
              information(std::nullopt, u"https://a"_qs));
    EXPECT_EQ(keyComplaints(), 1);
    EXPECT_EQ(complaints(), 0);
}

TEST_F(ApplicationInformationFileTest, ADamagedFileCountsForNothingAndIsLoggedOnce) {
    const QByteArray whole = R"({"CFBundleShortVersionString":"0.3.0"})";
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(read(whole.first(length)), ApplicationInformation()) << length;
    }
    EXPECT_EQ(complaints(), whole.size());
}

TEST_F(ApplicationInformationFileTest, OtherKindsOfDamageCountAsWell) {
    const std::vector<QByteArray> texts{"[]",
                                        "\"text\"",
                                        "null",
                                        "{} {}",
                                        QByteArray("{}\0", 3),
                                        "{\"a\":\"\xff\"}",
                                        QByteArray(R"({"a":)") + QByteArray(100, '[') +
                                            QByteArray(100, ']') + "}"};
    for (const QByteArray& text : texts) {
        EXPECT_EQ(read(text), ApplicationInformation()) << text.toStdString();
    }
    EXPECT_EQ(complaints(), int(texts.size()));
}

TEST_F(ApplicationInformationFileTest, TheLongestFileIsReadAndALongerOneIsNot) {
    const QByteArray text = R"({"CFBundleShortVersionString":"1"})";
    ASSERT_EQ(ApplicationInformationFile::longestFile, 65536);
    const QByteArray longest = text + QByteArray(65536 - text.size(), ' ');
    EXPECT_EQ(read(longest), information(u"1"_qs, std::nullopt));
    EXPECT_EQ(complaints(), 0);
    EXPECT_EQ(read(longest + ' '), ApplicationInformation());
    EXPECT_EQ(complaints(), 1);
}

TEST_F(ApplicationInformationFileTest, WhatIsNoFileIsNotOpened) {
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"folder"_qs));
    // To open a pipe that nobody writes to would wait for ever.
    ASSERT_EQ(::mkfifo(path(u"pipe"_qs).toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(ApplicationInformationFile::load({path(u"folder"_qs), path(u"pipe"_qs)}),
              ApplicationInformation());
    EXPECT_EQ(complaints(), 2);
}

TEST_F(ApplicationInformationFileTest, LogsHoldNothingOfFileOrPath) {
    read(R"({"LumivaneAPIBaseURL":7,"canary":"canary"} canary)");
    read(R"({"LumivaneAPIBaseURL":["canary"]})");
    write(u"canary.json"_qs, "canary");
    ApplicationInformationFile::load({path(u"canary.json"_qs)});
    EXPECT_EQ(complaints(), 2);
    EXPECT_EQ(keyComplaints(), 1);
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_FALSE(log.holds(folder.path().toStdString()));
}

TEST_F(ApplicationInformationFileTest, TheUsersFileComesAfterTheInstalledOne) {
    EXPECT_EQ(ApplicationInformationFile::paths(u"/opt/x/bin"_qs, u"/home/me/.config"_qs),
              QStringList({u"/opt/x/bin/../share/lumivane/info.json"_qs,
                           u"/home/me/.config/lumivane/info.json"_qs}));
}

TEST_F(ApplicationInformationFileTest, TheInstalledFileIsFoundBesideTheProgram) {
    QDir root(folder.path());
    ASSERT_TRUE(root.mkpath(u"bin"_qs) && root.mkpath(u"share/lumivane"_qs) &&
                root.mkpath(u"config/lumivane"_qs));
    write(u"share/lumivane/info.json"_qs, R"({"CFBundleShortVersionString":"1"})");
    write(u"config/lumivane/info.json"_qs, R"({"LumivaneAPIBaseURL":"https://mine"})");
    EXPECT_EQ(ApplicationInformationFile::load(
                  ApplicationInformationFile::paths(path(u"bin"_qs), path(u"config"_qs))),
              information(u"1"_qs, u"https://mine"_qs));
}

} // namespace lumivane
