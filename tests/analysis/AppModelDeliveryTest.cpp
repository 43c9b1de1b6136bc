#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class AppModelDeliveryTest : public AppModelTest {
protected:
    void useLeetCode() {
        settings.preset = Preset::leetCode;
        auto response = FakeAnalysisService::response(u"# Two sum"_qs, ResultKind::leetCode);
        response.questionTitle = u"Two Sum"_qs;
        response.answerStatus = LeetCodeAnswerStatus::memoryValidated;
        service.script.answerWith(response);
    }
};

TEST_F(AppModelDeliveryTest, TheAnswerIsRememberedAsDelivered) {
    auto response = FakeAnalysisService::response(u"B"_qs, ResultKind::choice);
    response.questionTitle = u"Which?"_qs;
    service.script.answerWith(response);
    make();
    int changes = 0;
    QObject::connect(model.get(), &AppModel::lastAnalysisChanged, model.get(),
                     [&changes] { ++changes; });
    run();
    const LastAnalysis expected{u"B"_qs, ResultKind::choice, u"Which?"_qs, std::nullopt,
                                clock.wallNow()};
    EXPECT_EQ(model->lastAnalysis(), expected);
    EXPECT_EQ(model->lastResult(), u"B"_qs);
    EXPECT_EQ(changes, 1);
    ASSERT_EQ(overlays.results.size(), 1U);
    EXPECT_EQ(overlays.results[0].kind, ResultKind::choice);
    EXPECT_EQ(overlays.results[0].title, u"Which?"_qs);
    EXPECT_EQ(overlays.results[0].copied, std::nullopt) << "the overlay derives it";
}

TEST_F(AppModelDeliveryTest, ClipboardOnlyCopiesRingsNotifiesAndSavesWithoutAPanel) {
    useLeetCode();
    settings.deliveryMode = DeliveryMode::clipboard;
    settings.soundWhenReady = true;
    settings.notifyOnCopy = true;
    make();
    run();
    EXPECT_TRUE(overlays.results.empty());
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"# Two sum"_qs);
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::transient), QString());
    EXPECT_TRUE(journal.holds(u"notifyCopied"_qs));
    EXPECT_TRUE(journal.holds(u"beep"_qs));
    EXPECT_EQ(notes.notes.size(), 1U);
}

TEST_F(AppModelDeliveryTest, ScreenOnlyLeavesAnOlderCopyClearable) {
    settings.deliveryMode = DeliveryMode::screen;
    make();
    run();
    EXPECT_TRUE(pasteboard.contents.empty());
    model->copyLastResult();
    run();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"the answer"_qs);
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelDeliveryTest, ASlowNotificationDelaysThePanelAndNotTheCopy) {
    settings.notifyOnCopy = true;
    notifications.copied.hold();
    make();
    run();
    EXPECT_TRUE(journal.holds(u"setTransient"_qs));
    EXPECT_TRUE(overlays.results.empty());
    notifications.copied.release(0, true);
    drainEvents();
    EXPECT_EQ(overlays.results.size(), 1U);
}

TEST_F(AppModelDeliveryTest, ASessionThatEndsDuringTheNotificationShowsNothing) {
    settings.notifyOnCopy = true;
    notifications.copied.hold();
    make();
    run();
    model->authenticationDidClearSession();
    notifications.copied.release(0, true);
    drainEvents();
    EXPECT_TRUE(overlays.results.empty());
    EXPECT_EQ(model->lastResult(), std::nullopt);
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelDeliveryTest, QuittingDuringTheNotificationShowsNothing) {
    settings.notifyOnCopy = true;
    notifications.copied.hold();
    make();
    run();
    model->terminate();
    notifications.copied.release(0, true);
    drainEvents();
    EXPECT_TRUE(overlays.results.empty());
}

TEST_F(AppModelDeliveryTest, ThePromptGoesInFrontOfTheCopyWhereTheUserWantsIt) {
    settings.includePromptWhenCopying = true;
    settings.preset = Preset::mcq;
    make();
    run();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string),
              u"Prompt: Multiple Choice\n\nResult: the answer"_qs);
    EXPECT_EQ(overlays.results[0].text, u"the answer"_qs);
}

TEST_F(AppModelDeliveryTest, OnlyAnUntouchedCopyIsCleared) {
    EXPECT_FALSE(AppModel::shouldClearCopiedPasteboard(std::nullopt, 5));
    EXPECT_TRUE(AppModel::shouldClearCopiedPasteboard(5, 5));
    EXPECT_FALSE(AppModel::shouldClearCopiedPasteboard(5, 6));
}

TEST_F(AppModelDeliveryTest, TheEndOfTheSessionClearsTheCopy) {
    make();
    run();
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
    EXPECT_EQ(model->lastResult(), std::nullopt);
    const auto count = pasteboard.count;
    model->authenticationDidClearSession();
    EXPECT_EQ(pasteboard.count, count) << "once";
}

TEST_F(AppModelDeliveryTest, WhatTheUserCopiedSinceStays) {
    make();
    run();
    pasteboard.copyElsewhere(u"mine"_qs);
    model->authenticationDidClearSession();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"mine"_qs);
}

TEST_F(AppModelDeliveryTest, QuittingClearsTheCopyToo) {
    make();
    run();
    model->terminate();
    EXPECT_TRUE(pasteboard.contents.empty());
    EXPECT_TRUE(journal.holds(u"invalidateOverlays"_qs));
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Quit requested"), 1);
}

TEST_F(AppModelDeliveryTest, CopyingTheLastResultRenewsTheCount) {
    make();
    model->copyLastResult();
    EXPECT_TRUE(pasteboard.contents.empty()) << "nothing to copy yet";
    run();
    pasteboard.copyElsewhere(u"mine"_qs);
    journal.clear();
    model->copyLastResult();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"clearPasteboard"_qs, u"setString"_qs, u"setTransient"_qs}));
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Copied the last result to the pasteboard"), 1);
    model->authenticationDidClearSession();
    EXPECT_TRUE(pasteboard.contents.empty());
}

TEST_F(AppModelDeliveryTest, ShowAgainUsesThePointersDisplayAndThePresentSettings) {
    make();
    run(mainDisplay);
    displays.setPointer(Point{1500, 10});
    model->togglePaused();
    model->showLastResultAgain();
    ASSERT_EQ(overlays.results.size(), 2U);
    EXPECT_EQ(overlays.results[1].text, u"the answer"_qs);
    EXPECT_EQ(overlays.results[1].displayID, otherDisplay);
    EXPECT_EQ(overlays.results[1].copied, false);
    EXPECT_TRUE(overlays.results[1].settings.paused);
    EXPECT_EQ(
        logged("overlay", LogLevel::standard, "Re-presenting the last result; display=8 kind=text"),
        1);
}

TEST_F(AppModelDeliveryTest, ShowAgainWithoutAResultOrADisplay) {
    make();
    model->showLastResultAgain();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(
        logged("overlay", LogLevel::info, "Show again ignored because there is no result to show"),
        1);
    run();
    displays.setPointer(std::nullopt);
    model->showLastResultAgain();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"The display under the pointer is unavailable."_qs);
}

TEST_F(AppModelDeliveryTest, TheTestOverlayTouchesNothingElse) {
    make();
    model->showTestOverlay();
    ASSERT_EQ(overlays.results.size(), 1U);
    EXPECT_EQ(overlays.results[0].text,
              u"This is where Lumivane will display its analysis result. This test sends no "
              u"screenshot and makes no API request."_qs);
    EXPECT_EQ(overlays.results[0].kind, ResultKind::text);
    EXPECT_EQ(overlays.results[0].copied, false);
    EXPECT_EQ(journal.entries(), QStringList{u"showResult 7"_qs});
    EXPECT_EQ(model->lastResult(), std::nullopt);
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(logged("overlay", LogLevel::standard, "Test overlay requested; display=7"), 1);
    displays.setPointer(std::nullopt);
    model->showTestOverlay();
    EXPECT_EQ(overlays.errors.size(), 1U);
}

TEST_F(AppModelDeliveryTest, NoUserTextReachesALog) {
    const QString canary = u"canary-7f3a"_qs;
    settings.preset = Preset::custom;
    settings.customPrompt = canary + u" prompt"_qs;
    settings.includePromptWhenCopying = true;
    session.token.answerWith(SecretText::of(canary + u"-token"_qs));
    extractor.script.answerWith(FakeExtractor::text(canary.repeated(5), 0.9));
    auto response = FakeAnalysisService::response(canary + u" answer"_qs);
    response.requestID = canary + u" not an identifier"_qs;
    response.questionTitle = canary;
    service.script.answerWith(response);
    make();
    run();
    model->copyLastResult();
    model->showLastResultAgain();
    service.script.failWith(LumivaneError::server(canary));
    run();
    EXPECT_EQ(overlays.errors.size(), 1U);
    EXPECT_FALSE(log.holds("canary-7f3a"));
}

} // namespace lumivane::test
