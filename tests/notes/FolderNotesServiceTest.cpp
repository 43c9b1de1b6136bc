#include "notes/FolderNotesService.h"

#include "SampleNotes.h"
#include "notes/NoteDocument.h"
#include "support/FakeFileStaging.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

using test::drainEvents;
using test::FakeFileStaging;
using test::sampleNote;
using test::waitUntil;

namespace {

QCoro::Task<bool> ended(QCoro::Task<void> call) {
    co_await call;
    co_return true;
}

using Flow = std::shared_ptr<test::Outcome<bool>>;

constexpr auto denied = NotesServiceError::Case::automationDenied;
constexpr auto failed = NotesServiceError::Case::creationFailed;

const QString folder = u"/home/user/Documents/Lumivane LeetCode"_qs;
const QString stem = u"Two Sum - 2026-11-21 12.41.54"_qs;

} // namespace

class FolderNotesServiceTest : public testing::Test {
protected:
    FolderNotesServiceTest() { pool.setMaxThreadCount(4); }

    /// Nothing of a test works on when it has ended.
    ~FolderNotesServiceTest() override {
        files.release();
        pool.waitForDone();
        drainEvents();
    }

    Flow start(const LeetCodeNote& note = sampleNote(), std::stop_token stop = std::stop_token()) {
        return test::watch(ended(service->createLeetCodeNote(note, std::move(stop))));
    }

    Flow save(const LeetCodeNote& note = sampleNote()) {
        Flow flow = start(note);
        EXPECT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
        return flow;
    }

    std::optional<NotesServiceError::Case>
    failureOfSaving(const LeetCodeNote& note = sampleNote()) {
        const auto error = save(note)->errorAs<NotesServiceError>();
        return error ? std::optional(error->errorCase) : std::nullopt;
    }

    std::vector<QString> names() const {
        std::vector<QString> found;
        for (const auto& [name, content] : files.folder(folder)) {
            found.push_back(name);
        }
        return found;
    }

    test::LogCapture log;
    FakeFileStaging files;
    QThreadPool pool;
    test::ManualClock clock;
    QString documents = u"/home/user/Documents"_qs;
    std::optional<FolderNotesService> service{std::in_place, files, pool, clock,
                                              [this] { return documents; }};
};

TEST_F(FolderNotesServiceTest, ANoteIsAPageAndItsMarkdown) {
    const LeetCodeNote note = sampleNote(u"Two Sum"_qs, u"# Zwei\r\n**ä** < \U0001F600"_qs);
    EXPECT_TRUE(save(note)->value);
    const FakeFileStaging::Folder expected{
        {stem + u".html"_qs, noteDocument(note)},
        {stem + u".md"_qs, u"# Zwei\r\n**ä** < \U0001F600"_qs.toUtf8()}};
    EXPECT_EQ(files.folder(folder), expected);
    EXPECT_EQ(files.folderCount(), 1U);
    EXPECT_EQ(files.stagedCount(), 0);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(FolderNotesServiceTest, PreparingAsksNobodyAndMakesNothing) {
    const Flow flow = test::watch(ended(service->prepareForLeetCodeSaving()));
    EXPECT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
    EXPECT_TRUE(flow->value);
    EXPECT_EQ(files.stageCount(), 0);
}

TEST_F(FolderNotesServiceTest, ASecondNoteOfOneTitleAndSecondGetsASuffix) {
    save(sampleNote(u"Two Sum"_qs, u"first"_qs));
    save(sampleNote(u"Two Sum"_qs, u"second"_qs));
    save(sampleNote(u"Two Sum"_qs, u"third"_qs));
    EXPECT_EQ(names(), (std::vector<QString>{stem + u" (2).html"_qs, stem + u" (2).md"_qs,
                                             stem + u" (3).html"_qs, stem + u" (3).md"_qs,
                                             stem + u".html"_qs, stem + u".md"_qs}));
    EXPECT_EQ(files.folder(folder).at(stem + u".md"_qs), "first");
    EXPECT_EQ(files.folder(folder).at(stem + u" (2).md"_qs), "second");
    EXPECT_EQ(files.folder(folder).at(stem + u" (3).md"_qs), "third");
}

TEST_F(FolderNotesServiceTest, PageAndMarkdownShareTheirNameWhicheverIsTaken) {
    files.putFile(folder, stem + u".md"_qs);
    files.putFile(folder, stem + u" (2).html"_qs);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(names(), (std::vector<QString>{stem + u" (2).html"_qs, stem + u" (3).html"_qs,
                                             stem + u" (3).md"_qs, stem + u".md"_qs}));
    EXPECT_EQ(files.folder(folder).at(stem + u".md"_qs), "somebody else's");
}

TEST_F(FolderNotesServiceTest, TooManyNotesOfOneNameFailTheCreation) {
    files.takeAllNames();
    EXPECT_EQ(failureOfSaving(), failed);
    EXPECT_EQ(files.stagedCount(), 0);
}

TEST_F(FolderNotesServiceTest, RefusedAccessIsADenial) {
    for (const std::errc refusal :
         {std::errc::permission_denied, std::errc::operation_not_permitted,
          std::errc::read_only_file_system}) {
        files.failStaging(refusal);
        EXPECT_EQ(failureOfSaving(), denied);
        files.failStaging(std::nullopt);
        files.failPublishing(refusal);
        EXPECT_EQ(failureOfSaving(), denied);
        files.failPublishing(std::nullopt);
    }
    EXPECT_TRUE(names().empty());
    EXPECT_EQ(files.stagedCount(), 0);
}

TEST_F(FolderNotesServiceTest, EveryOtherFailureFailsTheCreation) {
    for (const std::errc error :
         {std::errc::no_space_on_device, std::errc::file_too_large, std::errc::not_a_directory,
          std::errc::io_error, std::errc::too_many_files_open, std::errc::filename_too_long,
          std::errc::file_exists, std::errc::no_such_file_or_directory}) {
        files.failStaging(error);
        EXPECT_EQ(failureOfSaving(), failed);
        files.failStaging(std::nullopt);
        files.failPublishing(error);
        EXPECT_EQ(failureOfSaving(), failed);
        files.failPublishing(std::nullopt);
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(FolderNotesServiceTest, AFailureIsLoggedByItsNumberAlone) {
    files.failStaging(std::errc::no_space_on_device);
    save(sampleNote(u"CANARYTITLE"_qs, u"CANARYBODY"_qs));
    EXPECT_EQ(log.lines(),
              (std::vector<test::LogCapture::Line>{
                  {"lifecycle", LogLevel::error, "A note file could not be written; error=28"}}));
}

TEST_F(FolderNotesServiceTest, ASaveAfterAFailureSucceeds) {
    files.failStaging(std::errc::no_space_on_device);
    EXPECT_EQ(failureOfSaving(), failed);
    files.failStaging(std::nullopt);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(names().size(), 2U);
}

TEST_F(FolderNotesServiceTest, AFolderDeletedBetweenTwoSavesIsMadeAnew) {
    save();
    files.removeFolder(folder);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(names(), (std::vector<QString>{stem + u".html"_qs, stem + u".md"_qs}));
}

TEST_F(FolderNotesServiceTest, AFolderDeletedDuringASaveFailsTheCreation) {
    files.holdPublishing();
    const Flow flow = start();
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    files.removeFolder(folder);
    files.release();
    ASSERT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
    EXPECT_EQ(flow->errorAs<NotesServiceError>(), NotesServiceError(failed));
}

TEST_F(FolderNotesServiceTest, WithoutADocumentsFolderNothingIsTouched) {
    for (const QString& place : {QString(), u"Documents"_qs, u"./Documents"_qs}) {
        documents = place;
        EXPECT_EQ(failureOfSaving(), failed);
    }
    EXPECT_EQ(files.stageCount(), 0);
}

TEST_F(FolderNotesServiceTest, EachSaveGoesToWhereTheDocumentsAreByThen) {
    EXPECT_TRUE(save()->value);
    documents = u"/home/user/Dokumente"_qs;
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(files.folder(folder).size(), 2U);
    EXPECT_EQ(files.folder(u"/home/user/Dokumente/Lumivane LeetCode"_qs).size(), 2U);
    EXPECT_EQ(files.folderCount(), 2U);
}

TEST_F(FolderNotesServiceTest, TheMarkdownLosesZeroBytesAndNothingElse) {
    const QString markdown = u"a"_qs + QChar(QChar::Null) + u"\u0001 b\t\n"_qs;
    EXPECT_TRUE(save(sampleNote(u"Two Sum"_qs, markdown))->value);
    EXPECT_EQ(files.folder(folder).at(stem + u".md"_qs), "a\x01 b\t\n");
}

TEST_F(FolderNotesServiceTest, NastyTitlesMakeFilesInTheFolder) {
    const QString end = u" - 2026-11-21 12.41.54.md"_qs;
    const std::vector<std::pair<QString, QString>> cases{
        {u"../../../etc/cron.d/x"_qs, u"etc cron.d x"_qs},
        {u"a"_qs + QChar(QChar::Null) + u"b"_qs, u"a b"_qs},
        {u"\u202Egnp.exe"_qs, u"gnp.exe"_qs},
        {u"\U0001F600\U0001F680"_qs, u"\U0001F600\U0001F680"_qs},
        {QString(1000, u'q'), QString(105, u'q')},
        {u"NUL"_qs, u"_NUL"_qs},
        {u" . "_qs, u"LeetCode solution"_qs}};
    for (const auto& [title, name] : cases) {
        EXPECT_TRUE(save(sampleNote(title))->value);
        EXPECT_TRUE(files.folder(folder).contains(name + end)) << name.toStdString();
    }
    EXPECT_EQ(files.folderCount(), 1U);
    EXPECT_EQ(names().size(), 2 * cases.size());
}

TEST_F(FolderNotesServiceTest, TenMebibytesOfMarkdownAreKept) {
    const QString markdown = u"- a line of an answer\n"_qs.repeated(10 * 1024 * 1024 / 22);
    EXPECT_TRUE(save(sampleNote(u"Two Sum"_qs, markdown))->value);
    EXPECT_EQ(files.folder(folder).at(stem + u".md"_qs), markdown.toUtf8());
}

TEST_F(FolderNotesServiceTest, TheMainThreadIsFreeWhileAWorkerWrites) {
    files.holdStaging();
    const Flow flow = start();
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    EXPECT_FALSE(flow->hasEnded());
    files.release();
    EXPECT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
}

TEST_F(FolderNotesServiceTest, ASaveStoppedWhileItWritesLeavesNothing) {
    files.holdStaging();
    std::stop_source stop;
    const Flow flow = start(sampleNote(), stop.get_token());
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    stop.request_stop();
    ASSERT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
    EXPECT_TRUE(flow->isCancelled);
    EXPECT_TRUE(files.isHolding());
    files.release();
    pool.waitForDone();
    EXPECT_EQ(files.folderCount(), 0U);
    EXPECT_EQ(files.stagedCount(), 0);
}

TEST_F(FolderNotesServiceTest, ASaveCancelledByTheNextNeverWorksBesideIt) {
    files.holdStaging();
    std::stop_source stop;
    const Flow first = start(sampleNote(u"First"_qs), stop.get_token());
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    stop.request_stop();
    const Flow second = start(sampleNote(u"Second"_qs));
    ASSERT_TRUE(waitUntil([&] { return first->hasEnded(); }));
    drainEvents();
    EXPECT_EQ(pool.activeThreadCount(), 1);
    files.release();
    ASSERT_TRUE(waitUntil([&] { return second->hasEnded(); }));
    EXPECT_TRUE(first->isCancelled);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(names(), (std::vector<QString>{u"Second - 2026-11-21 12.41.54.html"_qs,
                                             u"Second - 2026-11-21 12.41.54.md"_qs}));
}

TEST_F(FolderNotesServiceTest, ASaveStoppedWhileItWaitsForItsTurnNeverBegins) {
    files.holdStaging();
    std::stop_source stop;
    const Flow first = start(sampleNote(u"First"_qs));
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    const Flow second = start(sampleNote(u"Second"_qs), stop.get_token());
    stop.request_stop();
    files.release();
    ASSERT_TRUE(waitUntil([&] { return first->hasEnded() && second->hasEnded(); }));
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->isCancelled);
    EXPECT_EQ(files.stageCount(), 1);
}

TEST_F(FolderNotesServiceTest, ASaveStoppedBeforehandTouchesNothing) {
    std::stop_source stop;
    stop.request_stop();
    const Flow flow = start(sampleNote(), stop.get_token());
    ASSERT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
    EXPECT_TRUE(flow->isCancelled);
    EXPECT_EQ(files.stageCount(), 0);
}

TEST_F(FolderNotesServiceTest, ASaveUnderWayOutlivesTheService) {
    files.holdStaging();
    const Flow flow = start();
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    service.reset();
    files.release();
    ASSERT_TRUE(waitUntil([&] { return flow->hasEnded(); }));
    EXPECT_TRUE(flow->value);
    EXPECT_EQ(names().size(), 2U);
}

TEST_F(FolderNotesServiceTest, ASaveThatNeverEndsIsAFailureInTheEnd) {
    files.holdStaging();
    const Flow flow = start();
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    clock.advance(FolderNotesService::patience - std::chrono::nanoseconds(1));
    EXPECT_FALSE(flow->hasEnded());
    clock.advance(std::chrono::nanoseconds(1));
    EXPECT_EQ(flow->errorAs<NotesServiceError>(), NotesServiceError(failed));
    EXPECT_TRUE(files.isHolding());
    EXPECT_EQ(log.lines(), (std::vector<test::LogCapture::Line>{
                               {"lifecycle", LogLevel::error, "A note was not written in time"}}));
    files.release();
    pool.waitForDone();
    EXPECT_EQ(files.folderCount(), 0U); // what was told as failed does not turn up later
}

TEST_F(FolderNotesServiceTest, SavesBehindOneThatNeverEndsFailInTheirOwnTime) {
    files.holdStaging();
    const Flow first = start(sampleNote(u"First"_qs));
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    clock.advance(std::chrono::seconds(10));
    const Flow second = start(sampleNote(u"Second"_qs));
    clock.advance(std::chrono::seconds(20));
    EXPECT_EQ(first->errorAs<NotesServiceError>(), NotesServiceError(failed));
    EXPECT_FALSE(second->hasEnded());
    clock.advance(std::chrono::seconds(10));
    EXPECT_EQ(second->errorAs<NotesServiceError>(), NotesServiceError(failed));
    EXPECT_EQ(pool.activeThreadCount(), 1);
    EXPECT_EQ(files.stageCount(), 1);
    files.release();
    EXPECT_TRUE(save(sampleNote(u"Third"_qs))->value);
    EXPECT_EQ(names(), (std::vector<QString>{u"Third - 2026-11-21 12.41.54.html"_qs,
                                             u"Third - 2026-11-21 12.41.54.md"_qs}));
}

TEST_F(FolderNotesServiceTest, ASaveStoppedWhileItHangsIsCancelledAndNoFailure) {
    files.holdStaging();
    std::stop_source stop;
    const Flow flow = start(sampleNote(), stop.get_token());
    ASSERT_TRUE(waitUntil([this] { return files.isHolding(); }));
    stop.request_stop();
    clock.advance(FolderNotesService::patience);
    EXPECT_TRUE(flow->isCancelled);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(FolderNotesServiceTest, ASaveInTimeLeavesNoTimer) {
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(clock.timerCount(), 0U);
}

} // namespace lumivane
