#include "analysis/AppRelaunchService.h"

#include "support/FakeRelauncher.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace lumivane {

using Line = test::LogCapture::Line;

namespace {

/// The flow's end, with a value since an outcome holds one.
QCoro::Task<bool> relaunched(AppRelaunchService* service) {
    co_await service->relaunch();
    co_return true;
}

const Line started{"lifecycle", LogLevel::standard, "Replacement instance started for relaunch"};

} // namespace

class AppRelaunchServiceTest : public testing::Test {
protected:
    test::FakeRelauncher relauncher;
    AppRelaunchService service{relauncher};
    test::LogCapture log;
};

TEST_F(AppRelaunchServiceTest, StartsOneReplacementAndLogsIt) {
    EXPECT_TRUE(test::outcomeOf(relaunched(&service)).value);
    EXPECT_EQ(relauncher.startCount, 1);
    EXPECT_THAT(log.lines(), testing::ElementsAre(started));
}

TEST_F(AppRelaunchServiceTest, ReturnsNoSoonerThanTheReplacementRuns) {
    relauncher.script.hold();
    const auto outcome = test::watch(relaunched(&service));
    test::drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_TRUE(log.lines().empty());
    relauncher.script.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_THAT(log.lines(), testing::ElementsAre(started));
}

TEST_F(AppRelaunchServiceTest, AFailureReachesTheCallerAsItIsAndTheProcessGoesOn) {
    relauncher.script.failWith(std::runtime_error("no more processes"));
    const auto outcome = test::outcomeOf(relaunched(&service));
    const auto error = outcome.errorAs<std::runtime_error>();
    ASSERT_TRUE(error);
    EXPECT_STREQ(error->what(), "no more processes");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AppRelaunchServiceTest, AfterAFailureItMayBeTriedAgain) {
    relauncher.script.failWith(std::runtime_error("not now"));
    test::outcomeOf(relaunched(&service));
    relauncher.script.answerWith(true);
    EXPECT_TRUE(test::outcomeOf(relaunched(&service)).value);
    EXPECT_EQ(relauncher.startCount, 2);
    EXPECT_THAT(log.lines(), testing::ElementsAre(started));
}

} // namespace lumivane
