#include "notes/AppleNotesService.h"

#include "SampleNotes.h"
#include "notes/NotesScript.h"
#include "support/FakeNotesScripting.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

using test::drainEvents;
using test::sampleNote;

namespace {

QCoro::Task<bool> ended(QCoro::Task<void> call) {
    co_await call;
    co_return true;
}

constexpr auto denied = NotesServiceError::Case::automationDenied;
constexpr auto failed = NotesServiceError::Case::creationFailed;

} // namespace

class AppleNotesServiceTest : public testing::Test {
protected:
    std::shared_ptr<test::Outcome<bool>> save(const LeetCodeNote& note = sampleNote(),
                                              std::stop_token stop = std::stop_token()) {
        auto flow = test::watch(ended(service->createLeetCodeNote(note, std::move(stop))));
        drainEvents();
        return flow;
    }

    std::shared_ptr<test::Outcome<bool>> prepare() {
        auto flow = test::watch(ended(service->prepareForLeetCodeSaving()));
        drainEvents();
        return flow;
    }

    static std::optional<NotesServiceError::Case> errorOf(const test::Outcome<bool>& outcome) {
        const auto error = outcome.errorAs<NotesServiceError>();
        return error ? std::optional(error->errorCase) : std::nullopt;
    }

    std::vector<test::LogCapture::Line> info(const std::string& text) const {
        return {{"lifecycle", LogLevel::info, text}};
    }

    test::LogCapture log;
    test::FakeNotesScripting scripting;
    std::optional<AppleNotesService> service{std::in_place, scripting};

    const QString isRunning = u"isRunning com.apple.Notes"_qs;
    const QString applicationUrl = u"applicationUrl com.apple.Notes"_qs;
    const QString openApplication = u"openApplication file:///Applications/Notes.app"_qs;
    const QString permission = u"automationPermission com.apple.Notes"_qs;
    const QString execute = u"execute"_qs;
};

TEST_F(AppleNotesServiceTest, TheNumbersAreTheSystemsOwn) {
    EXPECT_EQ(AppleNotesService::notPermitted, -1743);
    EXPECT_EQ(AppleNotesService::requiresUserConsent, -1744);
    EXPECT_EQ(AppleNotesService::targetNotRunning, -600);
}

TEST_F(AppleNotesServiceTest, PreparingAsksForConsentAndNothingElse) {
    EXPECT_TRUE(prepare()->value);
    EXPECT_EQ(scripting.requests(), QStringList{permission});
    EXPECT_EQ(scripting.askings, std::vector{AskingUser::yes});
    EXPECT_EQ(log.lines(), info("Notes automation pre-flight completed; status=0"));
}

TEST_F(AppleNotesServiceTest, PreparingNeverFails) {
    scripting.permission.answerWith(-1743);
    EXPECT_TRUE(prepare()->value);
    EXPECT_EQ(log.lines(), info("Notes automation pre-flight completed; status=-1743"));
}

TEST_F(AppleNotesServiceTest, SavingWithNotesRunningRunsTheScript) {
    scripting.running = true;
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(scripting.requests(), (QStringList{isRunning, permission, execute}));
    EXPECT_EQ(scripting.askings, std::vector{AskingUser::yes});
    EXPECT_EQ(scripting.sources,
              QStringList{NotesScript::makeNote(
                  u"Lumivane LeetCode"_qs, u"Lumivane LeetCode — Two Sum — 2026-11-21 12:41:54"_qs,
                  u"<h1>Two Sum</h1><p><strong>a</strong> &lt; b</p>"_qs)});
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AppleNotesServiceTest, NotesThatDoNotRunAreStartedHiddenBeforeAnyQuestion) {
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(scripting.requests(),
              (QStringList{isRunning, applicationUrl, openApplication, permission, execute}));
    const OpenConfiguration hidden{.activates = false, .addsToRecentItems = false, .hides = true};
    EXPECT_EQ(scripting.configurations, std::vector{hidden});
    EXPECT_EQ(log.lines(), info("Started Notes in the background for a LeetCode save"));
}

TEST_F(AppleNotesServiceTest, TheQuestionWaitsForTheLaunch) {
    scripting.opening.hold();
    const auto flow = save();
    EXPECT_EQ(scripting.requests().back(), openApplication);
    scripting.opening.release(0, true);
    drainEvents();
    EXPECT_TRUE(flow->value);
}

TEST_F(AppleNotesServiceTest, ALaunchThatFailsIsNoFailureOfTheSave) {
    scripting.opening.answerWith(false);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(scripting.requests().mid(2), (QStringList{openApplication, permission, execute}));
    EXPECT_EQ(log.lines(),
              info("Could not start Notes in the background; the script will try instead"));
}

TEST_F(AppleNotesServiceTest, NotesThatAreNotInstalledAreNotStarted) {
    scripting.application = std::nullopt;
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(scripting.requests(), (QStringList{isRunning, applicationUrl, permission, execute}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AppleNotesServiceTest, ARefusalEndsTheSaveBeforeAnyScript) {
    scripting.running = true;
    scripting.permission.answerWith(AppleNotesService::notPermitted);
    EXPECT_EQ(errorOf(*save()), denied);
    EXPECT_TRUE(scripting.sources.isEmpty());
    EXPECT_EQ(log.lines(), (std::vector<test::LogCapture::Line>{
                               {"lifecycle", LogLevel::error,
                                "Notes automation is denied; the note was not attempted"}}));
}

TEST_F(AppleNotesServiceTest, AnUnansweredQuestionLeavesTheWordToTheScript) {
    scripting.running = true;
    scripting.permission.answerWith(AppleNotesService::requiresUserConsent);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(log.lines(), info("Notes automation consent was not answered; continuing"));
}

TEST_F(AppleNotesServiceTest, AnyOtherStatusLeavesTheWordToTheScript) {
    scripting.running = true;
    scripting.permission.answerWith(AppleNotesService::targetNotRunning);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(log.lines(), info("Notes automation consent is unsettled; continuing; status=-600"));
    scripting.permission.answerWith(1);
    EXPECT_TRUE(save()->value);
    EXPECT_EQ(log.count("lifecycle", LogLevel::info,
                        "Notes automation consent is unsettled; continuing; status=1"),
              1);
}

TEST_F(AppleNotesServiceTest, AScriptsFailureIsToldByItsNumber) {
    scripting.running = true;
    scripting.script.answerWith({ScriptOutcome::Kind::failed, -1743});
    EXPECT_EQ(errorOf(*save()), denied);
    scripting.script.answerWith({ScriptOutcome::Kind::failed, -1728});
    EXPECT_EQ(errorOf(*save()), failed);
    scripting.script.answerWith({ScriptOutcome::Kind::failed, std::nullopt});
    EXPECT_EQ(errorOf(*save()), failed);
}

TEST_F(AppleNotesServiceTest, ASourceOfWhichNoScriptCanBeMadeFailsTheCreation) {
    scripting.running = true;
    scripting.script.answerWith({ScriptOutcome::Kind::notMade, -1743});
    EXPECT_EQ(errorOf(*save()), failed);
}

TEST_F(AppleNotesServiceTest, AMechanismThatThrowsStillGivesTheOneError) {
    scripting.running = true;
    scripting.script.failWith(std::bad_alloc());
    EXPECT_EQ(errorOf(*save()), failed);
}

TEST_F(AppleNotesServiceTest, ATitlesQuoteReachesTheScriptEscaped) {
    save(sampleNote(u"a\"b"_qs, u"```\nx\ny"_qs));
    ASSERT_EQ(scripting.sources.size(), 1);
    EXPECT_TRUE(scripting.sources[0].contains(
        uR"(set noteTitle to "Lumivane LeetCode — a\"b — 2026-11-21 12:41:54")"));
    EXPECT_TRUE(
        scripting.sources[0].contains(uR"(    set noteBody to "<pre><code>x\ny</code></pre>")"
                                      u"\n"));
}

TEST_F(AppleNotesServiceTest, ASaveWaitsForThePreparation) {
    scripting.running = true;
    scripting.permission.hold();
    const auto preparation = prepare();
    const auto flow = save();
    EXPECT_EQ(scripting.requests(), QStringList{permission});
    scripting.permission.letGo();
    scripting.permission.release(0, 0);
    drainEvents();
    EXPECT_TRUE(preparation->value);
    EXPECT_TRUE(flow->value);
    EXPECT_EQ(scripting.requests(), (QStringList{permission, isRunning, permission, execute}));
}

TEST_F(AppleNotesServiceTest, ASaveCancelledByTheNextLetsItsScriptEndFirst) {
    scripting.running = true;
    scripting.script.hold();
    std::stop_source stop;
    const auto first = save(sampleNote(u"first"_qs), stop.get_token());
    stop.request_stop();
    const auto second = save(sampleNote(u"second"_qs));
    EXPECT_TRUE(first->isCancelled);
    EXPECT_EQ(scripting.sources.size(), 1);
    scripting.script.release(0, ScriptOutcome{});
    drainEvents();
    ASSERT_EQ(scripting.sources.size(), 2);
    EXPECT_TRUE(scripting.sources[1].contains(u"second"));
    scripting.script.release(1, ScriptOutcome{});
    drainEvents();
    EXPECT_TRUE(second->value);
}

TEST_F(AppleNotesServiceTest, ASaveStoppedDuringTheLaunchAsksNobody) {
    scripting.opening.hold();
    std::stop_source stop;
    const auto flow = save(sampleNote(), stop.get_token());
    stop.request_stop();
    scripting.opening.release(0, true);
    drainEvents();
    EXPECT_TRUE(flow->isCancelled);
    EXPECT_EQ(scripting.requests().back(), openApplication);
}

TEST_F(AppleNotesServiceTest, ASaveStoppedDuringTheQuestionRunsNoScript) {
    scripting.running = true;
    scripting.permission.hold();
    std::stop_source stop;
    const auto flow = save(sampleNote(), stop.get_token());
    stop.request_stop();
    scripting.permission.release(0, 0);
    drainEvents();
    EXPECT_TRUE(flow->isCancelled);
    EXPECT_TRUE(scripting.sources.isEmpty());
}

TEST_F(AppleNotesServiceTest, ASaveStoppedBeforehandDoesNothing) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(save(sampleNote(), stop.get_token())->isCancelled);
    EXPECT_TRUE(scripting.requests().isEmpty());
}

TEST_F(AppleNotesServiceTest, ACallUnderWayOutlivesTheService) {
    scripting.running = true;
    scripting.script.hold();
    const auto flow = save();
    service.reset();
    scripting.script.release(0, ScriptOutcome{});
    drainEvents();
    EXPECT_TRUE(flow->value);
}

TEST_F(AppleNotesServiceTest, NoWordOfANoteReachesALog) {
    for (const std::int32_t status : {0, -1743, -1744, -600}) {
        scripting.permission.answerWith(status);
        scripting.opening.answerWith(status == 0);
        scripting.running = false;
        scripting.script.answerWith({ScriptOutcome::Kind::failed, status});
        save(sampleNote(u"CANARYTITLE"_qs, u"CANARYBODY"_qs));
    }
    EXPECT_GE(log.lines().size(), 7U);
    EXPECT_FALSE(log.holds("CANARY"));
}

} // namespace lumivane
