#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

class AppModelNotesTest : public AppModelTest {
protected:
    void useLeetCode() {
        settings.preset = Preset::leetCode;
        auto response = FakeAnalysisService::response(u"# Two sum"_qs, ResultKind::leetCode);
        response.questionTitle = u"Two Sum"_qs;
        response.answerStatus = LeetCodeAnswerStatus::memoryValidated;
        service.script.answerWith(response);
    }

    int savedCount() const {
        return logged("lifecycle", LogLevel::standard, "LeetCode result saved to Notes");
    }

    int failedCount() const {
        return logged("lifecycle", LogLevel::error, "LeetCode result could not be saved to Notes");
    }

    int supersededCount() const {
        return logged("lifecycle", LogLevel::info,
                      "A superseded LeetCode note failed to save; not surfacing it");
    }
};

TEST_F(AppModelNotesTest, ALeetCodeAnswerIsSavedAsDelivered) {
    useLeetCode();
    make();
    run();
    ASSERT_EQ(notes.notes.size(), 1U);
    const LeetCodeNote expected{u"Two Sum"_qs, LeetCodeAnswerStatus::memoryValidated,
                                u"# Two sum"_qs, clock.wallNow()};
    EXPECT_EQ(notes.notes[0], expected);
    EXPECT_EQ(savedCount(), 1);
}

TEST_F(AppModelNotesTest, AnAnswerWithoutTitleAndStatusHasDefaults) {
    settings.preset = Preset::leetCode;
    make();
    run();
    ASSERT_EQ(notes.notes.size(), 1U);
    EXPECT_EQ(notes.notes[0].questionTitle, u"LeetCode solution"_qs);
    EXPECT_EQ(notes.notes[0].answerStatus, LeetCodeAnswerStatus::liveUnvalidated);
}

TEST_F(AppModelNotesTest, ThePresetAndNotTheKindDecidesTheSave) {
    service.script.answerWith(FakeAnalysisService::response(u"x"_qs, ResultKind::leetCode));
    make();
    run();
    EXPECT_TRUE(notes.notes.empty());
}

TEST_F(AppModelNotesTest, SavingSwitchedOffIsLogged) {
    useLeetCode();
    settings.saveLeetCodeNotes = false;
    make();
    run();
    EXPECT_TRUE(notes.notes.empty());
    EXPECT_EQ(logged("lifecycle", LogLevel::info,
                     "Notes saving is off; the LeetCode result was not written to Notes"),
              1);
}

TEST_F(AppModelNotesTest, AFailedSaveIsShownAndNotified) {
    useLeetCode();
    notes.script.failWith(NotesServiceError(NotesServiceError::Case::creationFailed));
    make();
    run();
    const QString words =
        u"Lumivane could not add the solution to Notes. Open Notes once, then try again."_qs;
    EXPECT_EQ(model->lastNotesError(), words);
    const auto shown = journal.entries().indexOf(u"showNotesStatus 7 "_qs + words);
    const auto notified = journal.entries().indexOf(u"notifyNotesFailure "_qs + words);
    EXPECT_GE(shown, 0);
    EXPECT_GT(notified, shown);
    EXPECT_EQ(failedCount(), 1);
    EXPECT_FALSE(log.holds("Open Notes once"));

    notes.script.answerWith(true);
    run();
    EXPECT_EQ(model->lastNotesError(), std::nullopt) << "the next run starts clean";
}

TEST_F(AppModelNotesTest, TheRunDoesNotWaitForTheSave) {
    useLeetCode();
    notes.script.hold();
    make();
    run();
    EXPECT_EQ(notes.notes.size(), 1U);
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(overlays.results.size(), 1U);
}

TEST_F(AppModelNotesTest, ASupersededRunsLateFailureIsDropped) {
    useLeetCode();
    notes.script.hold();
    make();
    run();
    service.script.hold();
    run(otherDisplay);
    journal.clear();
    notes.script.fail(0, NotesServiceError(NotesServiceError::Case::creationFailed));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->lastNotesError(), std::nullopt);
    EXPECT_EQ(supersededCount(), 1);
}

TEST_F(AppModelNotesTest, ANewSaveCancelsTheLast) {
    useLeetCode();
    notes.script.hold();
    make();
    run();
    run();
    EXPECT_EQ(notes.notes.size(), 2U);
    EXPECT_EQ(supersededCount(), 1);
    notes.script.release(1, true);
    drainEvents();
    EXPECT_EQ(savedCount(), 1);
}

TEST_F(AppModelNotesTest, ASaveThatFailsAfterTheSignOutShowsNothing) {
    useLeetCode();
    notes.script.ignoreStops();
    notes.script.hold();
    make();
    run();
    model->authenticationDidClearSession();
    journal.clear();
    notes.script.fail(0, NotesServiceError(NotesServiceError::Case::creationFailed));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->lastNotesError(), std::nullopt);
    EXPECT_EQ(supersededCount(), 1);
}

TEST_F(AppModelNotesTest, AnErrorTakesTheOwnershipFromANoteThatFailsLater) {
    useLeetCode();
    notes.script.hold();
    make();
    run();
    triggers.onError(LumivaneError(LumivaneError::Case::displayUnavailable));
    journal.clear();
    notes.script.fail(0, NotesServiceError(NotesServiceError::Case::creationFailed));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelNotesTest, ASessionThatIsGoneSavesNothing) {
    useLeetCode();
    make();
    model->analyze(mainDisplay);
    service.script.hold();
    drainEvents();
    session.signedIn = false;
    service.script.release(0, FakeAnalysisService::response(u"x"_qs));
    drainEvents();
    EXPECT_TRUE(notes.notes.empty());
    EXPECT_EQ(failedCount(), 0);
}

TEST_F(AppModelNotesTest, ARunThatLosesTheScreenBeforeItsSaveBeginsSavesNothing) {
    useLeetCode();
    make();
    bool isFirst = true;
    QObject::connect(model.get(), &AppModel::stateChanged, model.get(), [&] {
        if (model->lastAnalysis() && model->state() == AnalysisState::idle && isFirst) {
            isFirst = false;
            triggers.onError(LumivaneError(LumivaneError::Case::displayUnavailable));
        }
    });
    run();
    EXPECT_FALSE(isFirst);
    EXPECT_TRUE(notes.notes.empty());
    EXPECT_EQ(failedCount(), 0);
}

TEST_F(AppModelNotesTest, ASaveThatEndsAfterTheSignOutIsNotToldAsDone) {
    useLeetCode();
    notes.script.ignoreStops();
    notes.script.hold();
    make();
    run();
    model->authenticationDidClearSession();
    journal.clear();
    notes.script.release(0, true);
    drainEvents();
    EXPECT_EQ(savedCount(), 0);
    EXPECT_EQ(failedCount(), 1);
    EXPECT_EQ(supersededCount(), 1);
    EXPECT_TRUE(journal.entries().isEmpty());
}

} // namespace lumivane::test
