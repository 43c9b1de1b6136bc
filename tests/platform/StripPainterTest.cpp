#include "platform/linux/StripPainter.h"

#include "async/SystemClock.h"
#include "support/ManualClock.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

constexpr std::uint32_t fillPixel = 0xff00ff00;
constexpr std::uint32_t trackPixel = 0xff0000ff;

GlidingStrip strip(double fraction, nanoseconds duration) {
    return {QRect(10, 5, 100, 4), fraction, duration, fillPixel, trackPixel};
}

} // namespace

TEST(GlidingStrip, ShrinksInLinearTime) {
    const auto tenSeconds = strip(1, seconds(10));
    EXPECT_EQ(filledPixels(tenSeconds, seconds(0)), 100);
    EXPECT_EQ(filledPixels(tenSeconds, seconds(1)), 90);
    EXPECT_EQ(filledPixels(tenSeconds, seconds(5)), 50);
    EXPECT_EQ(filledPixels(tenSeconds, seconds(10)), 0);
    EXPECT_EQ(filledPixels(tenSeconds, seconds(11)), 0);
}

TEST(GlidingStrip, BeginsWhereItIsToldTo) {
    EXPECT_EQ(filledPixels(strip(0.3, seconds(10)), seconds(0)), 30);
    EXPECT_EQ(filledPixels(strip(0.3, seconds(10)), seconds(5)), 15);
    EXPECT_EQ(filledPixels(strip(-1, seconds(10)), seconds(0)), 0);
    EXPECT_EQ(filledPixels(strip(7, seconds(10)), seconds(0)), 100);
}

TEST(GlidingStrip, WithoutTimeThereIsNothingLeft) {
    EXPECT_EQ(filledPixels(strip(1, seconds(0)), seconds(0)), 0);
    EXPECT_EQ(filledPixels(strip(1, seconds(-1)), seconds(0)), 0);
    EXPECT_EQ(nextChange(strip(1, seconds(0)), seconds(0)), std::nullopt);
}

TEST(GlidingStrip, EachChangeIsOnePixel) {
    const auto each = strip(0.37, seconds(10));
    nanoseconds elapsed{0};
    for (int filled = 37; filled > 0; --filled) {
        ASSERT_EQ(filledPixels(each, elapsed), filled);
        const auto next = nextChange(each, elapsed);
        ASSERT_TRUE(next.has_value());
        ASSERT_EQ(filledPixels(each, *next - nanoseconds(1000)), filled) << "not before";
        elapsed = *next;
    }
    EXPECT_EQ(filledPixels(each, elapsed), 0);
    EXPECT_EQ(nextChange(each, elapsed), std::nullopt);
}

class StripPainterTest : public testing::Test {
protected:
    StripPainterTest() {
        window = client.show({.area = QRect(30, 20, 200, 50), .seed = 5});
        painter = std::make_unique<StripPainter>(clock, server.displayName(), window);
    }

    /// The strip's pixels in a row of the screen.
    QRgb pixel(int x, int y = 2) {
        return client.screen(QRect(30 + 10 + x, 20 + 5 + y, 1, 1)).pixel(0, 0);
    }

    bool waitForFilled(int filled) {
        return XTestClient::waitUntil(seconds(10), [this, filled] {
            return (filled == 0 || pixel(filled - 1) == fillPixel) &&
                   (filled == 100 || pixel(filled) == trackPixel);
        });
    }

    bool isWindow(int x, int y) {
        const QPoint inWindow(10 + x, 5 + y);
        return pixel(x, y) == XTestClient::patternPixel(5, inWindow.x(), inWindow.y(), 24);
    }

    XServer server;
    XTestClient client{server.displayName()};
    ManualClock clock;
    xcb_window_t window = XCB_NONE;
    std::unique_ptr<StripPainter> painter;
};

TEST_F(StripPainterTest, FollowsTheClock) {
    painter->start(strip(1, seconds(10)));
    EXPECT_TRUE(waitForFilled(100));
    clock.advance(seconds(4));
    EXPECT_TRUE(waitForFilled(60));
    clock.advance(seconds(5));
    EXPECT_TRUE(waitForFilled(10));
    clock.advance(seconds(5));
    EXPECT_TRUE(waitForFilled(0));
}

TEST_F(StripPainterTest, DrawsNothingBesideTheStrip) {
    painter->start(strip(0.5, seconds(10)));
    ASSERT_TRUE(waitForFilled(50));
    EXPECT_EQ(pixel(0, 0), fillPixel);
    EXPECT_EQ(pixel(99, 3), trackPixel);
    EXPECT_TRUE(isWindow(-1, 2));
    EXPECT_TRUE(isWindow(100, 2));
    EXPECT_TRUE(isWindow(50, -1));
    EXPECT_TRUE(isWindow(50, 4));
}

TEST_F(StripPainterTest, StoppingUncoversTheWindow) {
    painter->start(strip(1, seconds(10)));
    ASSERT_TRUE(waitForFilled(100));
    painter->stop();
    EXPECT_TRUE(XTestClient::waitUntil(seconds(10), [this] { return isWindow(50, 2); }));
    painter->start(strip(0.2, seconds(10)));
    EXPECT_TRUE(waitForFilled(20)) << "and it begins again";
}

TEST_F(StripPainterTest, ANewStripTakesThePlaceOfTheOldOne) {
    painter->start(strip(1, seconds(10)));
    ASSERT_TRUE(waitForFilled(100));
    clock.advance(seconds(3));
    auto next = strip(0.5, seconds(20));
    next.area.translate(0, 10);
    painter->start(next);
    EXPECT_TRUE(XTestClient::waitUntil(seconds(10), [this] {
        return pixel(49, 12) == fillPixel && pixel(50, 12) == trackPixel && isWindow(50, 2);
    }));
}

TEST_F(StripPainterTest, AnEmptyOneIsAllTrackFromTheStart) {
    painter->start(strip(0, seconds(10)));
    EXPECT_TRUE(waitForFilled(0));
}

TEST_F(StripPainterTest, EndingThePainterUncoversTheWindow) {
    painter->start(strip(1, seconds(10)));
    ASSERT_TRUE(waitForFilled(100));
    painter.reset();
    EXPECT_TRUE(XTestClient::waitUntil(seconds(10), [this] { return isWindow(50, 2); }));
}

TEST_F(StripPainterTest, AWindowThatGoesEndsTheStrip) {
    painter->start(strip(1, std::chrono::milliseconds(1)));
    client.hide(window);
    painter->start(strip(1, seconds(10)));
    clock.advance(seconds(1));
    painter.reset();
    EXPECT_FALSE(client.parent(window).has_value());
}

TEST_F(StripPainterTest, AServerThatDiesEndsTheStrip) {
    painter->start(strip(1, seconds(10)));
    ASSERT_TRUE(waitForFilled(100));
    server.kill();
    clock.advance(seconds(1));
    painter->start(strip(1, seconds(10)));
    painter->stop();
    const SystemClock real;
    const auto before = real.now();
    painter.reset();
    EXPECT_LT(real.now() - before, seconds(1));
}

TEST_F(StripPainterTest, WithoutAServerNothingHappens) {
    StripPainter lost(clock, ":no-such-display", window);
    lost.start(strip(1, seconds(10)));
    lost.stop();
}

TEST_F(StripPainterTest, EndingOneInTheMiddleOfItsTimeDoesNotWait) {
    painter->start(strip(1, std::chrono::hours(10)));
    ASSERT_TRUE(waitForFilled(100));
    const SystemClock real;
    const auto before = real.now();
    painter.reset();
    EXPECT_LT(real.now() - before, seconds(1));
}

} // namespace lumivane::test
