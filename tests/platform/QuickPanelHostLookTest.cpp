#include "platform/PanelHostFixture.h"

#include <gmock/gmock.h>

namespace lumivane::test {

using testing::IsEmpty;
using testing::SizeIs;

/// What panels look like on screen.
class QuickPanelHostLookTest : public PanelHostFixture, public testing::Test {
protected:
    void wallpaper() {
        desktop.client().show({.area = QRect(0, 0, 1280, 800), .seed = 3});
        // Through a compositor it shows a moment later.
        EXPECT_TRUE(waitUntil([this] { return isWallpaper({640, 400}) && isWallpaper({10, 10}); }));
    }

    QRgb wallpaperAt(const QPoint& position) {
        return XTestClient::patternPixel(3, position.x(), position.y(), 24);
    }

    bool isWallpaper(const QPoint& position) {
        return ((desktop.pixel(position) ^ wallpaperAt(position)) & RGB_MASK) == 0;
    }

    /// How dark the wallpaper has become, 0 to 1.
    double darkness(const QPoint& position) {
        const QRgb now = desktop.pixel(position);
        const QRgb before = wallpaperAt(position);
        const int sum = qRed(before) + qGreen(before) + qBlue(before);
        return 1 - double(qRed(now) + qGreen(now) + qBlue(now)) / sum;
    }

    PanelRequest roundedRequest() {
        model->cornerRadius = 11;
        auto request = requestAt(place);
        request.cornerRadius = 11;
        return request;
    }

    bool runsCompositor(bool isRunning) {
        return waitUntil([&] { return compositor.isRunning() == isRunning; });
    }

    const QRect place{301, 203, 400, 112};
};

TEST_F(QuickPanelHostLookTest, WithoutACompositorCornersAreCutAndNotBlack) {
    wallpaper();
    const auto panel = openDrawn(roundedRequest(), place);
    for (const QPoint corner :
         {place.topLeft(), place.topRight(), place.bottomLeft(), place.bottomRight()}) {
        EXPECT_TRUE(isWallpaper(corner));
    }
    EXPECT_EQ(desktop.pixel(place.topLeft() + QPoint(11, 0)), red);
    EXPECT_EQ(desktop.pixel(place.topLeft() + QPoint(0, 11)), red);
    EXPECT_EQ(desktop.pixel(place.bottomRight() - QPoint(11, 0)), red);
    EXPECT_EQ(desktop.pixel(place.topLeft() + QPoint(5, 5)), red);
}

TEST_F(QuickPanelHostLookTest, WithoutACornerRadiusTheWholeRectangleShows) {
    const auto panel = openDrawn(requestAt(place), place);
    EXPECT_EQ(desktop.pixel(place.topLeft()), red);
    EXPECT_EQ(desktop.pixel(place.bottomRight()), red);
}

TEST_F(QuickPanelHostLookTest, WithoutACompositorThereIsNoShadow) {
    wallpaper();
    auto request = roundedRequest();
    request.hasShadow = true;
    const auto before = desktop.windows().size();
    const auto panel = openDrawn(request, place);
    EXPECT_THAT(desktop.windows(), SizeIs(before + 1));
    EXPECT_TRUE(isWallpaper(place.bottomLeft() + QPoint(100, 5)));
}

TEST_F(QuickPanelHostLookTest, WithACompositorCornersAreSeenThrough) {
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    wallpaper();
    model->surface = QColor(255, 0, 0, 128);
    const auto panel = open(roundedRequest());
    const QPoint middle = place.center();
    EXPECT_TRUE(waitUntil([&] {
        return qAbs(qRed(desktop.pixel(middle)) - (128 + qRed(wallpaperAt(middle)) / 2)) <= 2;
    })) << "half of it shines through";
    EXPECT_TRUE(isWallpaper(place.topLeft()));
    EXPECT_TRUE(isWallpaper(place.bottomRight()));
}

TEST_F(QuickPanelHostLookTest, WithACompositorAPanelCastsASoftShadow) {
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    wallpaper();
    auto request = roundedRequest();
    request.hasShadow = true;
    auto panel = openDrawn(request, place);
    const QPoint below(place.center().x(), place.bottom() + 1);
    EXPECT_TRUE(waitUntil([&] { return darkness(below + QPoint(0, 2)) > 0.15; }));
    EXPECT_GT(darkness(below + QPoint(0, 2)), darkness(below + QPoint(0, 20)) + 0.05);
    EXPECT_GT(darkness(below + QPoint(0, 20)), darkness(below + QPoint(0, 36)));
    EXPECT_TRUE(isWallpaper(below + QPoint(0, 60)));
    EXPECT_GT(darkness(below + QPoint(0, 5)),
              darkness(QPoint(place.center().x(), place.top() - 5)) + 0.05)
        << "it falls downwards";
    EXPECT_EQ(desktop.pixel(place.center()), red);
    panel.reset();
    EXPECT_TRUE(waitUntil([&] { return isWallpaper(below + QPoint(0, 2)); }));
}

TEST_F(QuickPanelHostLookTest, AShadowLetsThePointerThrough) {
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    XLoggingWindow other(desktop.server().displayName(), QRect(200, 150, 700, 400));
    auto request = roundedRequest();
    request.hasShadow = true;
    request.isInteractive = true;
    const auto panel = openDrawn(request, place);
    desktop.click({place.center().x(), place.bottom() + 8});
    EXPECT_THAT(other.takeEvents(), testing::ElementsAre("button 1 down", "button 1 up"));
}

TEST_F(QuickPanelHostLookTest, NothingOfAShadowLiesUnderASeeThroughPanel) {
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    wallpaper();
    model->surface = Qt::transparent;
    auto request = roundedRequest();
    request.hasShadow = true;
    const auto panel = open(request);
    EXPECT_TRUE(waitUntil([&] {
        return darkness({place.center().x(), place.bottom() + 3}) > 0.15;
    }));
    EXPECT_TRUE(isWallpaper(place.center()));
    EXPECT_TRUE(isWallpaper({place.center().x(), place.bottom() - 2}));
}

TEST_F(QuickPanelHostLookTest, APanelFollowsACompositorThatComesAndGoes) {
    wallpaper();
    auto request = roundedRequest();
    request.hasShadow = true;
    const auto before = desktop.windows().size();
    const auto panel = openDrawn(request, place);
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    const QPoint below(place.center().x(), place.bottom() + 3);
    EXPECT_TRUE(waitUntil([&] { return darkness(below) > 0.15; }));
    EXPECT_EQ(desktop.windows().back(), desktop.windowsAt(place).back())
        << "the shadow lies under its panel";

    desktop.stopCompositor();
    ASSERT_TRUE(runsCompositor(false));
    EXPECT_TRUE(waitUntil([&] { return desktop.windows().size() == before + 1; }));
    EXPECT_TRUE(waitUntil([&] { return isWallpaper(below); }));
    EXPECT_TRUE(isWallpaper(place.topLeft())) << "cut again";
    EXPECT_TRUE(desktop.waitForPixel(place.center(), red));
}

TEST_F(QuickPanelHostLookTest, AGlideMovesWithoutTheMainThread) {
    const auto panel = openDrawn(requestAt(place), place);
    const QRect strip(20, 90, 360, 4);
    panel->glide({.strip = {20, 90, 360, 4},
                  .fraction = 0.5,
                  .duration = std::chrono::seconds(2),
                  .fill = {0, 1, 0, 1},
                  .track = {0, 0, 1, 1}});
    const QPoint start = place.topLeft() + strip.topLeft();
    // From here on the event loop stands still.
    EXPECT_TRUE(XTestClient::waitUntil(std::chrono::seconds(10), [&] {
        return desktop.pixel(start) == green && desktop.pixel(start + QPoint(181, 0)) == blue;
    }));
    EXPECT_TRUE(XTestClient::waitUntil(
        std::chrono::seconds(10), [&] { return desktop.pixel(start + QPoint(90, 2)) == blue; }));
    EXPECT_TRUE(XTestClient::waitUntil(std::chrono::seconds(10),
                                       [&] { return desktop.pixel(start) == blue; }));
    EXPECT_EQ(desktop.pixel(start - QPoint(1, 0)), red);
    EXPECT_EQ(desktop.pixel(start + QPoint(0, 4)), red);
    EXPECT_EQ(desktop.pixel(start + QPoint(360, 0)), red);
}

TEST_F(QuickPanelHostLookTest, TheViewDoesNotDrawOverAGlide) {
    const auto panel = openDrawn(requestAt(place), place);
    panel->glide({.strip = {20, 90, 360, 4},
                  .fraction = 1,
                  .duration = std::chrono::hours(1),
                  .fill = {0, 1, 0, 1},
                  .track = {0, 0, 1, 1}});
    const QPoint start = place.topLeft() + QPoint(20, 90);
    ASSERT_TRUE(desktop.waitForPixel(start, green));
    model->setSurface(Qt::white);
    ASSERT_TRUE(desktop.waitForPixel(place.center(), white));
    EXPECT_EQ(desktop.pixel(start), green);
    panel->stopGlide();
    EXPECT_TRUE(desktop.waitForPixel(start, white)) << "the view's own drawing again";
}

TEST_F(QuickPanelHostLookTest, AGlideIsNoObstacleToThePointer) {
    auto request = requestAt(place);
    request.isInteractive = true;
    const auto panel = openDrawn(request, place);
    panel->glide({.strip = {0, 0, 400, 112},
                  .fraction = 1,
                  .duration = std::chrono::hours(1),
                  .fill = {0, 1, 0, 1},
                  .track = {0, 0, 1, 1}});
    ASSERT_TRUE(desktop.waitForPixel(place.center(), green));
    desktop.click(place.center());
    EXPECT_TRUE(waitUntil([this] { return model->events.contains(u"clicked"_qs); }));
    EXPECT_FALSE(model->events.contains(u"leave"_qs));
}

TEST_F(QuickPanelHostLookTest, AGlideKeepsTheSeeThroughColourItWasGiven) {
    desktop.startCompositor();
    ASSERT_TRUE(runsCompositor(true));
    XLoggingWindow below(desktop.server().displayName(), QRect(200, 150, 700, 400));
    ASSERT_TRUE(desktop.waitForPixel(place.center(), white));
    model->surface = Qt::transparent;
    const auto panel = open(requestAt(place));
    panel->glide({.strip = {20, 90, 360, 4},
                  .fraction = 1,
                  .duration = std::chrono::hours(1),
                  .fill = {0, 0, 0, 0.5},
                  .track = {0, 0, 1, 1}});
    EXPECT_TRUE(waitUntil([&] {
        return qAbs(qGray(desktop.pixel(place.topLeft() + QPoint(30, 91))) - 128) <= 2;
    })) << "half black over white";
    EXPECT_EQ(desktop.pixel(place.center()), white);
}

TEST_F(QuickPanelHostLookTest, TwoHundredPanelsLeaveNothingInTheServer) {
    auto request = roundedRequest();
    request.hasShadow = true;
    request.acceptsKeyboard = true;
    desktop.client().claimCompositor();
    ASSERT_TRUE(runsCompositor(true));
    const auto openAndClose = [&](int times) {
        for (int i = 0; i < times; ++i) {
            auto panel = openDrawn(request, place);
            panel->glide({.strip = {0, 0, 400, 4},
                          .fraction = 1,
                          .duration = std::chrono::hours(1),
                          .fill = {0, 1, 0, 1},
                          .track = {0, 0, 1, 1}});
            panel.reset();
            drainEvents();
        }
    };
    openAndClose(5);
    const auto count = desktop.resourceCount();
    const auto bytes = desktop.pixmapBytes();
    openAndClose(200);
    EXPECT_TRUE(waitUntil([&] { return desktop.resourceCount() <= count; }))
        << desktop.resourceCount() << " after " << count;
    EXPECT_LE(desktop.pixmapBytes(), bytes);
}

} // namespace lumivane::test
