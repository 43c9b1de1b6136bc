#include "platform/linux/CompositorWatch.h"

#include "support/EventLoop.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

class CompositorWatchTest : public testing::Test {
protected:
    void watch() {
        m_watch = std::make_unique<CompositorWatch>(server.displayName());
        QObject::connect(m_watch.get(), &CompositorWatch::changed, m_watch.get(),
                         [this] { ++changes; });
    }

    bool waitForChange(int number) {
        return waitUntil([this, number] { return changes >= number; });
    }

    bool isRunning() const { return m_watch->isRunning(); }

    XServer server;
    XTestClient client{server.displayName()};
    int changes = 0;

private:
    std::unique_ptr<CompositorWatch> m_watch;
};

TEST_F(CompositorWatchTest, KnowsFromTheStartThatNoneRuns) {
    watch();
    EXPECT_FALSE(isRunning());
}

TEST_F(CompositorWatchTest, KnowsFromTheStartThatOneRuns) {
    client.claimCompositor();
    watch();
    EXPECT_TRUE(isRunning());
}

TEST_F(CompositorWatchTest, FollowsOneThatComesAndGoes) {
    watch();
    client.claimCompositor();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_TRUE(isRunning());
    client.releaseCompositor();
    ASSERT_TRUE(waitForChange(2));
    EXPECT_FALSE(isRunning());
}

TEST_F(CompositorWatchTest, NoticesAProgramThatEndsWithoutAWord) {
    auto compositor = std::make_unique<XTestClient>(server.displayName());
    compositor->claimCompositor();
    watch();
    compositor.reset();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_FALSE(isRunning());
}

TEST_F(CompositorWatchTest, OneThatTakesOverFromAnotherIsNoChange) {
    client.claimCompositor();
    watch();
    XTestClient successor(server.displayName());
    successor.claimCompositor();
    // The end of the first is seen after the beginning of the second.
    client.releaseCompositor();
    successor.releaseCompositor();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_FALSE(isRunning());
    EXPECT_EQ(changes, 1);
}

TEST_F(CompositorWatchTest, OtherSelectionsDoNotCount) {
    watch();
    client.claimSelection("CLIPBOARD");
    client.claimCompositor();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(changes, 1);
}

TEST_F(CompositorWatchTest, ARealCompositorIsSeen) {
    watch();
    server.startCompositor();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_TRUE(isRunning());
    server.stopCompositor();
    ASSERT_TRUE(waitForChange(2));
    EXPECT_FALSE(isRunning());
}

TEST_F(CompositorWatchTest, AServerThatDiesTakesTheCompositorAlong) {
    client.claimCompositor();
    watch();
    server.kill();
    ASSERT_TRUE(waitForChange(1));
    EXPECT_FALSE(isRunning());
}

TEST(CompositorWatch, WithoutAServerNoneRuns) {
    const CompositorWatch watch(":no-such-display");
    EXPECT_FALSE(watch.isRunning());
}

} // namespace lumivane::test
