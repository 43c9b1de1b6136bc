#include "async/Cancelled.h"
#include "platform/linux/LinuxFileStaging.h"
#include "support/FakeFileStaging.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace lumivane {

namespace {

using Files = std::map<QString, QByteArray>;

/// A staging with a folder to work in, which is not there yet.
class Place {
public:
    virtual ~Place() = default;

    virtual FileStaging& staging() = 0;
    virtual QString folder() const = 0;
    virtual Files files() const = 0;               ///< what has a name of its own
    virtual int unnamedCount() const = 0;          ///< what has none yet
    virtual void putFile(const QString& name) = 0; ///< holds "other"; the folder must be there
};

class FakePlace final : public Place {
public:
    FileStaging& staging() override { return m_staging; }

    QString folder() const override { return u"/home/user/Notes"_qs; }

    Files files() const override { return m_staging.folder(folder()); }

    int unnamedCount() const override { return m_staging.stagedCount(); }

    void putFile(const QString& name) override { m_staging.putFile(folder(), name); }

private:
    test::FakeFileStaging m_staging;
};

class LinuxPlace final : public Place {
public:
    FileStaging& staging() override { return m_staging; }

    QString folder() const override { return m_place.filePath(u"a/Notes ä"_qs); }

    Files files() const override {
        Files found;
        for (const QString& name : QDir(folder()).entryList(QDir::Files)) {
            QFile file(QDir(folder()).filePath(name));
            EXPECT_TRUE(file.open(QIODevice::ReadOnly));
            found[name] = file.readAll();
        }
        return found;
    }

    /// Hidden files, and open ones in the folder that have no name at all.
    int unnamedCount() const override {
        const QDir::Filters all =
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        auto count =
            QDir(folder()).entryList(all).size() - QDir(folder()).entryList(QDir::Files).size();
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code closed; // the one that reads them
            const QString file =
                QFile::decodeName(std::filesystem::read_symlink(entry, closed).c_str());
            count += file.startsWith(folder()) && file.endsWith(u" (deleted)") ? 1 : 0;
        }
        return static_cast<int>(count);
    }

    void putFile(const QString& name) override {
        QFile file(QDir(folder()).filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("other");
    }

private:
    QTemporaryDir m_place;
    LinuxFileStaging m_staging;
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Place>()> make;
};

} // namespace

class FileStagingContract : public testing::TestWithParam<Kind> {
protected:
    std::unique_ptr<StagedFiles> stage(const std::vector<QByteArray>& contents) {
        return place->staging().stage(place->folder(), contents, std::stop_token());
    }

    std::unique_ptr<Place> place = GetParam().make();
};

TEST_P(FileStagingContract, FilesAreSeenFromTheirPublishingOn) {
    const auto files = stage({"one", "two"});
    EXPECT_TRUE(place->files().empty());
    EXPECT_EQ(place->unnamedCount(), 2);
    EXPECT_TRUE(files->publish({u"a.md"_qs, u"ä 漢 \U0001F600.html"_qs}));
    const Files expected{{u"a.md"_qs, "one"}, {u"ä 漢 \U0001F600.html"_qs, "two"}};
    EXPECT_EQ(place->files(), expected);
    EXPECT_EQ(place->unnamedCount(), 0);
}

TEST_P(FileStagingContract, WhatWasPublishedStaysWhenTheStagingGoes) {
    EXPECT_TRUE(stage({"one"})->publish({u"a"_qs}));
    EXPECT_EQ(place->files(), (Files{{u"a"_qs, "one"}}));
}

TEST_P(FileStagingContract, WhatWasNotPublishedGoesWithTheStaging) {
    stage({"one", "two"}).reset();
    EXPECT_TRUE(place->files().empty());
    EXPECT_EQ(place->unnamedCount(), 0);
}

TEST_P(FileStagingContract, ATakenNameIsLeftAloneAndAnotherMayBeTried) {
    const auto files = stage({"mine"});
    place->putFile(u"a"_qs);
    const Files before = place->files();
    EXPECT_FALSE(files->publish({u"a"_qs}));
    EXPECT_EQ(place->files(), before);
    EXPECT_TRUE(files->publish({u"b"_qs}));
    EXPECT_EQ(place->files().at(u"b"_qs), "mine");
    EXPECT_EQ(place->files().at(u"a"_qs), before.at(u"a"_qs));
}

TEST_P(FileStagingContract, OneTakenNameHoldsAllBack) {
    const auto files = stage({"one", "two", "three"});
    place->putFile(u"c"_qs);
    EXPECT_FALSE(files->publish({u"a"_qs, u"b"_qs, u"c"_qs}));
    EXPECT_EQ(place->files().size(), 1U);
    EXPECT_EQ(place->unnamedCount(), 3);
    EXPECT_TRUE(files->publish({u"a"_qs, u"b"_qs, u"d"_qs}));
    EXPECT_EQ(place->files().at(u"a"_qs), "one");
    EXPECT_EQ(place->files().at(u"b"_qs), "two");
    EXPECT_EQ(place->files().at(u"d"_qs), "three");
    EXPECT_EQ(place->unnamedCount(), 0);
}

TEST_P(FileStagingContract, TwoStagingsOfOneFolderKeepApart) {
    const auto first = stage({"first"});
    const auto second = stage({"second"});
    EXPECT_TRUE(second->publish({u"a"_qs}));
    EXPECT_FALSE(first->publish({u"a"_qs}));
    EXPECT_TRUE(first->publish({u"b"_qs}));
    EXPECT_EQ(place->files(), (Files{{u"a"_qs, "second"}, {u"b"_qs, "first"}}));
}

TEST_P(FileStagingContract, AnyBytesAreKeptAndNoneToo) {
    QByteArray bytes(3 * 1024 * 1024 + 17, '\0');
    bytes[12] = '\n';
    bytes[bytes.size() - 1] = '\xff';
    EXPECT_TRUE(stage({bytes, QByteArray()})->publish({u"a"_qs, u"b"_qs}));
    EXPECT_EQ(place->files(), (Files{{u"a"_qs, bytes}, {u"b"_qs, QByteArray()}}));
}

TEST_P(FileStagingContract, ARequestedStopLeavesNothing) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(place->staging().stage(place->folder(), {"one"}, stop.get_token()), Cancelled);
    EXPECT_TRUE(place->files().empty());
    EXPECT_EQ(place->unnamedCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, FileStagingContract,
                         testing::Values(Kind{"Fake", [] { return std::make_unique<FakePlace>(); }},
                                         Kind{"Linux",
                                              [] { return std::make_unique<LinuxPlace>(); }}),
                         [](const auto& info) { return info.param.name; });

} // namespace lumivane
