// The panels of the program itself, seen by a program beside it.

#include "support/EventLoop.h"
#include "support/PanelDesktop.h"
#include "support/SignedInHome.h"

#include <X11/keysym.h>
#include <gmock/gmock.h>

namespace lumivane::test {

using testing::IsEmpty;

class OverlayProgramTest : public testing::Test {
protected:
    OverlayProgramTest() {
        settings.configured = true;
        settings.activationMode = ActivationMode::hotkey;
        settings.analysisMode = AnalysisMode::hyperAccurate;
        service.always("/healthz", ScriptedAnswer::json(200, R"({"status":"ok","version":"1"})"));
    }

    const LumivaneHome& prepareHome() {
        home.store(settings);
        return home;
    }

    bool isUp(const QRect& area) {
        return waitUntil([&] { return desktop.windowsAt(area).size() == 1; });
    }

    bool isGone(const QRect& area) {
        return waitUntil([&] { return desktop.windowsAt(area).empty(); });
    }

    std::vector<std::string> escape() {
        const std::string code = std::to_string(desktop.keycodeOf(XK_Escape));
        return {"key " + code + " down", "key " + code + " up"};
    }

    PanelDesktop desktop{PanelDesktop::Manager::openbox};
    SignedInHome user{desktop.server()};
    LumivaneHome& home = user.home();
    ScriptedHttpServer& service = user.service();
    AppSettings settings;
};

TEST_F(OverlayProgramTest, ARunShowsItsPanelsAndEscapeIsLentForAsLongAsTheAnswerIsUp) {
    const QRect workingPlace(840, 648, 400, 112);
    const QRect answerPlace(740, 510, 500, 250);
    service.always("/v1/analyze",
                   ScriptedAnswer::json(200, R"({"request_id":"r-1","result":"canary-answer",)"
                                             R"("result_kind":"text"})")
                       .held());
    LumivaneProgram program(prepareHome());
    program.requireLog("Service health check completed; healthy=1");
    program.requireLog("Looked for a session; signedIn=1");
    XLoggingWindow other(desktop.server().displayName(), QRect(50, 50, 300, 200));
    ASSERT_TRUE(waitUntil([&] { return other.hasFocus(); }));

    desktop.server().run(u"xdotool"_qs, {u"key"_qs, u"super+alt+e"_qs});
    EXPECT_TRUE(isUp(workingPlace));
    ASSERT_TRUE(waitUntil([this] { return service.requestsFor("/v1/analyze").size() == 1; }));
    EXPECT_THAT(desktop.windowsAt(answerPlace), IsEmpty());
    other.takeEvents();
    desktop.type(XK_Escape);
    EXPECT_EQ(other.takeEvents(), escape()) << "nothing can be closed yet";

    service.release();
    EXPECT_TRUE(isUp(answerPlace));
    EXPECT_TRUE(isGone(workingPlace));
    ASSERT_TRUE(program.waitForLog("Showing result overlay; kind=text"));
    desktop.type(XK_Escape);
    EXPECT_TRUE(isGone(answerPlace));
    EXPECT_THAT(other.takeEvents(), IsEmpty());
    desktop.type(XK_Escape);
    EXPECT_EQ(other.takeEvents(), escape());
    EXPECT_TRUE(other.hasFocus());

    EXPECT_EQ(program.terminate(), 0);
    EXPECT_FALSE(program.log().contains("canary")) << program.log().toStdString();
}

TEST_F(OverlayProgramTest, ASecondRunTakesTheAnswerOfTheFirstAwayAndShowsItsError) {
    const QRect answerPlace(740, 510, 500, 250);
    const QRect errorPlace(680, 520, 560, 240);
    settings.keepUntilDismissed = true;
    settings.dismissWithEscape = false;
    service.script("/v1/analyze",
                   ScriptedAnswer::json(200, R"({"request_id":"r-1","result":"canary-answer",)"
                                             R"("result_kind":"text"})"));
    service.script("/v1/analyze",
                   ScriptedAnswer::json(503, R"({"error":{"code":"busy","message":"canary-reason",)"
                                             R"("request_id":"r-2"}})"));
    LumivaneProgram program(prepareHome());
    program.requireLog("Service health check completed; healthy=1");
    program.requireLog("Looked for a session; signedIn=1");
    XLoggingWindow other(desktop.server().displayName(), QRect(50, 50, 300, 200));
    ASSERT_TRUE(waitUntil([&] { return other.hasFocus(); }));

    desktop.server().run(u"xdotool"_qs, {u"key"_qs, u"super+alt+e"_qs});
    EXPECT_TRUE(isUp(answerPlace));
    desktop.server().run(u"xdotool"_qs, {u"key"_qs, u"super+alt+e"_qs});
    EXPECT_TRUE(isUp(errorPlace));
    EXPECT_THAT(desktop.windowsAt(answerPlace), IsEmpty());
    ASSERT_TRUE(program.waitForLog("Showing error overlay"));
    desktop.click(errorPlace.center());
    EXPECT_TRUE(isGone(errorPlace));
    EXPECT_TRUE(other.hasFocus());
    EXPECT_EQ(program.terminate(), 0);
    EXPECT_FALSE(program.log().contains("canary")) << program.log().toStdString();
}

} // namespace lumivane::test
