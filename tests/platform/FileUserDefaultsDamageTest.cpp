#include "SettingsFolder.h"
#include "platform/linux/FileUserDefaults.h"
#include "support/FileSizeLimit.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <functional>
#include <random>

namespace lumivane {

namespace {

std::int64_t peakKibibytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// No further file can be opened while this lives.
class NoMoreFiles {
public:
    NoMoreFiles() {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }

    ~NoMoreFiles() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;

private:
    rlimit m_before{};
};

} // namespace

class FileUserDefaultsDamageTest : public test::SettingsFolder {
protected:
    QString damaged(int number = 1) const {
        const QString name = file + u".damaged"_qs;
        return number == 1 ? name : name + u'-' + QString::number(number);
    }

    QByteArray nativeFile() const { return QFile::encodeName(file); }

    /// The file reads as empty, stays as it is until something is written, and stands beside then.
    void expectKeptAside(const std::function<void()>& expectSame) {
        EXPECT_EQ(stored(), std::nullopt);
        EXPECT_NO_THROW(opened().removeObject(u"a"_qs));
        const QStringList before = everythingIn(folder);
        ASSERT_EQ(before, QStringList{u"settings.json"_qs});
        opened().set("new", u"b"_qs);
        EXPECT_EQ(content(file), "{\n  \"b\": \"new\"\n}\n");
        EXPECT_EQ(everythingIn(folder),
                  (QStringList{u"settings.json"_qs, u"settings.json.damaged"_qs}));
        expectSame();
        opened().removePersistentDomain();
        EXPECT_TRUE(everythingIn(folder).isEmpty());
    }
};

TEST_F(FileUserDefaultsDamageTest, WhatIsNoSuchJsonIsKeptAside) {
    const std::vector<QByteArray> texts{
        "",
        " \n",
        "\xff",
        QByteArray(64, '\0'),
        "{",
        "null",
        "[]",
        "\"a\"",
        "{\"a\":\"one\"",
        "{\"a\":\"one\"}x",
        "{\"a\":\"one\"}{}",
        QByteArray("{\"a\":\"one\"}\0", 12),
        "{\"a\":\"one\",}",
        "{\"a\":\"\xff\"}",
        "{\"a\":\"one\",\"b\":1}",
        "{\"a\":\"one\",\"b\":true}",
        "{\"a\":\"one\",\"b\":null}",
        "{\"a\":\"one\",\"b\":[]}",
        "{\"a\":\"one\",\"b\":{}}",
        "{\"a\":\"one\",\"b\":{\"base64\":7}}",
        "{\"a\":\"one\",\"b\":{\"base64\":\"?\"}}",
        "{\"a\":\"one\",\"b\":{\"base64\":\"eA==\",\"c\":\"\"}}",
        "{\"a\":\"one\",\"b\":{\"base64\":[[[]]]}}",
        "{\"a\":\"one\",\"a\":\"one\"}",
        "<<<<<<< HEAD\n{\"a\":\"one\"}\n=======\n{}\n>>>>>>> mine\n",
        QByteArray(200'000, '['),
    };
    for (const QByteArray& text : texts) {
        SCOPED_TRACE(text.left(80).toStdString());
        write(file, text);
        expectKeptAside([this, &text] { EXPECT_EQ(content(damaged()), text); });
    }
}

TEST_F(FileUserDefaultsDamageTest, AFileCutAnywhereIsWholeOrKeptAside) {
    opened().set("{\"é\":1}", u"a"_qs);
    opened().set("\xff", u"b"_qs);
    const QByteArray whole = content(file);
    ASSERT_TRUE(whole.endsWith("}\n"));
    for (qsizetype size = 0; size < whole.size() - 1; ++size) {
        write(file, whole.first(size));
        ASSERT_EQ(stored(), std::nullopt) << size;
        ASSERT_EQ(stored(u"b"_qs), std::nullopt) << size;
    }
    write(file, whole.chopped(1));
    EXPECT_EQ(stored(), "{\"é\":1}");
    EXPECT_EQ(stored(u"b"_qs), "\xff");
}

TEST_F(FileUserDefaultsDamageTest, RandomBytesReadAsEmpty) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes(round * 7, Qt::Uninitialized);
        for (char& each : bytes) {
            each = static_cast<char>(byte(random));
        }
        write(file, bytes);
        ASSERT_EQ(stored(), std::nullopt);
    }
}

TEST_F(FileUserDefaultsDamageTest, AHugeFileIsNeitherReadNorLost) {
    constexpr qint64 huge = qint64{100} * 1024 * 1024;
    write(file, "{");
    ASSERT_EQ(::truncate(nativeFile().constData(), huge), 0);
    const std::int64_t before = peakKibibytes();
    expectKeptAside([this] { EXPECT_EQ(QFileInfo(damaged()).size(), huge); });
    EXPECT_LT(peakKibibytes() - before, 16 * 1024);
}

TEST_F(FileUserDefaultsDamageTest, AFileAtTheLimitIsReadAndOneByteMoreIsNot) {
    QByteArray text = "{\"a\":\"one\"}";
    text += QByteArray(1024 * 1024 - text.size(), ' ');
    write(file, text);
    EXPECT_EQ(stored(), "one");
    write(file, text + ' ');
    EXPECT_EQ(stored(), std::nullopt);
    opened().set("new", u"b"_qs);
    EXPECT_EQ(QFileInfo(damaged()).size(), 1024 * 1024 + 1);
}

TEST_F(FileUserDefaultsDamageTest, AFolderInItsPlaceIsKeptAside) {
    write(file + u"/letter.txt"_qs, "mine");
    EXPECT_EQ(stored(), std::nullopt);
    opened().set("new", u"b"_qs);
    EXPECT_EQ(stored(u"b"_qs), "new");
    EXPECT_EQ(content(damaged() + u"/letter.txt"_qs), "mine");
}

TEST_F(FileUserDefaultsDamageTest, ANamedPipeInItsPlaceIsNotWaitedFor) {
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(::mkfifo(nativeFile().constData(), 0600), 0);
    expectKeptAside([this] {
        struct stat status {};

        EXPECT_EQ(::stat(QFile::encodeName(damaged()).constData(), &status), 0);
        EXPECT_TRUE(S_ISFIFO(status.st_mode));
    });
}

TEST_F(FileUserDefaultsDamageTest, ASocketInItsPlaceIsKeptAside) {
    ASSERT_TRUE(QDir().mkpath(folder));
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(static_cast<std::size_t>(nativeFile().size()), sizeof address.sun_path);
    std::strcpy(address.sun_path, nativeFile().constData());
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectKeptAside([] {});
    ::close(listener);
}

TEST_F(FileUserDefaultsDamageTest, ALinkToADeviceReadsAsEmpty) {
    ASSERT_TRUE(QDir().mkpath(folder));
    for (const QString& device : {u"/dev/full"_qs, u"/dev/zero"_qs, u"/dev/null"_qs}) {
        ASSERT_TRUE(QFile::link(device, file));
        EXPECT_EQ(stored(), std::nullopt);
        ASSERT_TRUE(QFile::remove(file));
    }
}

// A device itself is not put at the risk of this test.
TEST_F(FileUserDefaultsDamageTest, ALinkToNoRegularFileIsKeptAsideAndWhatItNamesLeftAlone) {
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString pipe = place.filePath(u"pipe"_qs);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(pipe, file));
    expectKeptAside([&] { EXPECT_EQ(QFile::symLinkTarget(damaged()), pipe); });
    ASSERT_TRUE(QFile::link(pipe, file));
    opened().removePersistentDomain();
    EXPECT_TRUE(everythingIn(folder).isEmpty());
    EXPECT_EQ(everythingIn(place.path()), (QStringList{u"config"_qs, u"pipe"_qs}));
}

TEST_F(FileUserDefaultsDamageTest, ALinkToAFolderOrToItselfIsKeptAside) {
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(QFile::link(place.path(), file));
    expectKeptAside([this] { EXPECT_EQ(QFile::symLinkTarget(damaged()), place.path()); });
    ASSERT_EQ(::symlink("settings.json", nativeFile().constData()), 0);
    expectKeptAside([this] { EXPECT_TRUE(QFileInfo(damaged()).isSymLink()); });
    EXPECT_TRUE(QFileInfo(place.path()).isDir());
}

TEST_F(FileUserDefaultsDamageTest, ADamagedFileBehindALinkIsKeptBesideItself) {
    const QString target = place.filePath(u"dotfiles/lumivane.json"_qs);
    write(target, "broken");
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(QFile::link(target, file));
    opened().set("new", u"a"_qs);
    EXPECT_EQ(stored(), "new");
    EXPECT_EQ(QFile::symLinkTarget(file), target);
    EXPECT_EQ(content(target + u".damaged"_qs), "broken");
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(FileUserDefaultsDamageTest, EachDamageIsKeptUnderANameOfItsOwn) {
    for (int number = 1; number <= 5; ++number) {
        write(file, "broken " + QByteArray::number(number));
        opened().set("new", u"a"_qs);
    }
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(content(damaged(number)), "broken " + QByteArray::number(number));
    }
}

TEST_F(FileUserDefaultsDamageTest, BeyondFiveTheLastOneIsReplaced) {
    for (int number = 1; number <= 8; ++number) {
        write(file, "broken " + QByteArray::number(number));
        opened().set("new", u"a"_qs);
    }
    EXPECT_EQ(content(damaged(1)), "broken 1");
    EXPECT_EQ(content(damaged(4)), "broken 4");
    EXPECT_EQ(content(damaged(5)), "broken 8");
    EXPECT_EQ(everythingIn(folder).size(), 6);
    EXPECT_EQ(stored(), "new");
}

TEST_F(FileUserDefaultsDamageTest, ADamagedFileThatCannotBeKeptIsNotOverwritten) {
    for (int number = 1; number <= 4; ++number) {
        write(damaged(number), "older");
    }
    write(damaged(5) + u"/letter.txt"_qs, "mine");
    write(file, "broken");
    EXPECT_NE(failure([this] { opened().set("new", u"a"_qs); }), std::error_code());
    EXPECT_EQ(content(file), "broken");
    EXPECT_EQ(everythingIn(folder).size(), 6);
}

TEST_F(FileUserDefaultsDamageTest, ADamagedFileStaysWhileTheDiskIsFull) {
    write(file, "broken");
    {
        const test::FileSizeLimit limit(0);
        EXPECT_EQ(failure([this] { opened().set("new", u"a"_qs); }), std::errc::file_too_large);
    }
    EXPECT_EQ(content(file), "broken");
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(FileUserDefaultsDamageTest, AFileThatCannotBeOpenedJustNowIsNotDamaged) {
    opened().set("one", u"a"_qs);
    FileUserDefaults defaults = opened();
    {
        const NoMoreFiles limit;
        EXPECT_EQ(defaults.data(u"a"_qs), std::nullopt);
    }
    // The limit goes before an error is looked at: the sanitizers need a file for that.
    EXPECT_EQ(failure([&defaults] {
                  const NoMoreFiles limit;
                  defaults.set("new", u"b"_qs);
              }),
              std::errc::too_many_files_open);
    EXPECT_EQ(failure([&defaults] {
                  const NoMoreFiles limit;
                  defaults.removeObject(u"a"_qs);
              }),
              std::errc::too_many_files_open);
    EXPECT_EQ(stored(), "one");
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

} // namespace lumivane
