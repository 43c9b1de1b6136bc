#include "analysis/PermissionService.h"

#include "support/FakeDisplayServer.h"
#include "support/FakeUrlOpener.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace lumivane {

using Line = test::LogCapture::Line;

namespace {

/// A desktop with a pane for every permission.
class DesktopWithPanes final : public UrlOpener {
public:
    bool open(const QUrl& url) override {
        opened << url;
        return true;
    }

    QList<QUrl> opened;
};

Line lifecycle(const std::string& text) { return {"lifecycle", LogLevel::standard, text}; }

} // namespace

class PermissionServiceTest : public testing::Test {
protected:
    test::FakeDisplayServer displays;
    test::FakeUrlOpener opener;
    PermissionService service{displays, opener};
    test::LogCapture log;
};

TEST_F(PermissionServiceTest, ThePermissionIsWhatTheDisplayServerSaysNow) {
    EXPECT_TRUE(service.hasScreenRecording());
    displays.setPermission(false);
    EXPECT_FALSE(service.hasScreenRecording());
    displays.setPermission(true);
    EXPECT_TRUE(service.hasScreenRecording());
}

TEST_F(PermissionServiceTest, LookingAtThePermissionAsksForNothingElseAndSaysNothing) {
    service.hasScreenRecording();
    EXPECT_EQ(displays.counts(), (test::FakeDisplayServer::Counts{.mayCapture = 1}));
    EXPECT_TRUE(opener.asked.isEmpty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PermissionServiceTest, AGrantedRequestIsAnsweredAndLogged) {
    EXPECT_TRUE(service.requestScreenRecording());
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(
                    lifecycle("Requesting Screen Recording permission"),
                    lifecycle("Screen Recording permission request completed; granted=1")));
}

TEST_F(PermissionServiceTest, ARefusedRequestIsAnAnswerToo) {
    displays.setPermission(false);
    EXPECT_FALSE(service.requestScreenRecording());
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(
                    lifecycle("Requesting Screen Recording permission"),
                    lifecycle("Screen Recording permission request completed; granted=0")));
    EXPECT_TRUE(opener.asked.isEmpty());
}

TEST_F(PermissionServiceTest, APaneThatTheDesktopHasNotIsLoggedAndRaisesNothing) {
    EXPECT_NO_THROW(service.openScreenRecordingSettings());
    ASSERT_EQ(opener.asked.size(), 1);
    EXPECT_THAT(log.lines(), testing::ElementsAre(
                                 lifecycle("Screen Recording settings pane requested; opened=0")));
}

TEST_F(PermissionServiceTest, APaneThatOpensIsLoggedAsOpened) {
    DesktopWithPanes desktop;
    PermissionService(displays, desktop).openScreenRecordingSettings();
    EXPECT_THAT(log.lines(), testing::ElementsAre(
                                 lifecycle("Screen Recording settings pane requested; opened=1")));
}

TEST_F(PermissionServiceTest, ThePaneIsAskedForLetterByLetter) {
    service.openScreenRecordingSettings();
    ASSERT_EQ(opener.asked.size(), 1);
    EXPECT_TRUE(opener.asked[0].isValid());
    EXPECT_EQ(opener.asked[0].toString(),
              u"x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"_qs);
}

} // namespace lumivane
