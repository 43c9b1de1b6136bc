#include "analysis/LaunchAtLoginService.h"

#include "support/FakeLoginItem.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace lumivane {

using Line = test::LogCapture::Line;

namespace {

Line info(const std::string& text) { return {"lifecycle", LogLevel::info, text}; }

} // namespace

class LaunchAtLoginServiceTest : public testing::Test {
protected:
    test::FakeLoginItem item;
    LaunchAtLoginService service{item};
    test::LogCapture log;
};

TEST_F(LaunchAtLoginServiceTest, IsEnabledWhereTheItemIsAndNowhereElse) {
    EXPECT_FALSE(service.isEnabled());
    item.current = LoginItemStatus::requiresApproval;
    EXPECT_FALSE(service.isEnabled());
    item.current = LoginItemStatus::outdated;
    EXPECT_FALSE(service.isEnabled());
    item.current = LoginItemStatus::enabled;
    EXPECT_TRUE(service.isEnabled());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(LaunchAtLoginServiceTest, EnablingRegistersOnceAndLogs) {
    service.setEnabled(true);
    EXPECT_EQ(item.registerCount, 1);
    EXPECT_EQ(item.unregisterCount, 0);
    EXPECT_EQ(item.current, LoginItemStatus::enabled);
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=1"),
                                                  info("Launch at login update completed")));
}

TEST_F(LaunchAtLoginServiceTest, EnablingWhatIsEnabledTouchesNothingAndIsLoggedAsCompleted) {
    item.current = LoginItemStatus::enabled;
    service.setEnabled(true);
    EXPECT_EQ(item.registerCount, 0);
    EXPECT_EQ(item.unregisterCount, 0);
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=1"),
                                                  info("Launch at login update completed")));
}

TEST_F(LaunchAtLoginServiceTest, EnablingWhatTheUserTurnedOffRegisters) {
    item.current = LoginItemStatus::requiresApproval;
    service.setEnabled(true);
    EXPECT_EQ(item.registerCount, 1);
    EXPECT_EQ(item.unregisterCount, 0);
}

TEST_F(LaunchAtLoginServiceTest, DisablingUnregistersOnceAndLogs) {
    item.current = LoginItemStatus::enabled;
    service.setEnabled(false);
    EXPECT_EQ(item.registerCount, 0);
    EXPECT_EQ(item.unregisterCount, 1);
    EXPECT_EQ(item.current, LoginItemStatus::notRegistered);
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=0"),
                                                  info("Launch at login update completed")));
}

TEST_F(LaunchAtLoginServiceTest, DisablingWhatIsNotRegisteredTouchesNothingAndIsLogged) {
    service.setEnabled(false);
    EXPECT_EQ(item.registerCount, 0);
    EXPECT_EQ(item.unregisterCount, 0);
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=0"),
                                                  info("Launch at login update completed")));
}

TEST_F(LaunchAtLoginServiceTest, DisablingWhatTheUserTurnedOffUnregisters) {
    item.current = LoginItemStatus::requiresApproval;
    service.setEnabled(false);
    EXPECT_EQ(item.unregisterCount, 1);
    EXPECT_EQ(item.current, LoginItemStatus::notRegistered);
}

TEST_F(LaunchAtLoginServiceTest, WhatIsOutdatedIsRegisteredAnewOrRemoved) {
    item.current = LoginItemStatus::outdated;
    service.setEnabled(true);
    EXPECT_EQ(item.registerCount, 1);
    EXPECT_EQ(item.current, LoginItemStatus::enabled);
    item.current = LoginItemStatus::outdated;
    service.setEnabled(false);
    EXPECT_EQ(item.unregisterCount, 1);
    EXPECT_EQ(item.current, LoginItemStatus::notRegistered);
}

TEST_F(LaunchAtLoginServiceTest, ARefusedRegistrationReachesTheCallerAndIsNotCompleted) {
    item.failure = std::errc::read_only_file_system;
    try {
        service.setEnabled(true);
        FAIL() << "nothing was raised";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::make_error_code(std::errc::read_only_file_system));
    }
    EXPECT_EQ(item.registerCount, 1);
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=1")));
}

TEST_F(LaunchAtLoginServiceTest, ARefusedRemovalReachesTheCallerAndIsNotCompleted) {
    item.current = LoginItemStatus::enabled;
    item.failure = std::errc::permission_denied;
    EXPECT_THROW(service.setEnabled(false), std::system_error);
    EXPECT_TRUE(service.isEnabled());
    EXPECT_THAT(log.lines(), testing::ElementsAre(info("Updating launch at login; enabled=0")));
}

} // namespace lumivane
