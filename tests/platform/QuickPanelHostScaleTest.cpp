#include "platform/PanelHostFixture.h"

#include <QScreen>

namespace lumivane::test {

namespace {

// Before the application object is made, which reads it once.
[[maybe_unused]] const bool isScaled =
    qputenv("QT_SCREEN_SCALE_FACTORS", "Plain=1;Middle=1.5;Fine=2");

} // namespace

struct ScaledMonitor {
    const char* name;
    QRect area; ///< pixels
    double scale;
};

/// Three monitors side by side, at odd places, and with different scales.
class QuickPanelHostScaleTest : public PanelHostFixture,
                                public testing::TestWithParam<ScaledMonitor> {
protected:
    static constexpr QRect plain{0, 17, 423, 600};
    static constexpr QRect middle{423, 101, 420, 601};
    static constexpr QRect fine{843, 3, 437, 700};

    QuickPanelHostScaleTest() {
        desktop.addMonitor(u"Middle"_qs, middle);
        desktop.addMonitor(u"Plain"_qs, plain);
        desktop.addMonitor(u"Fine"_qs, fine);
        EXPECT_TRUE(waitUntil([this] { return displays.displays().size() == 3; }));
    }

    DisplayInfo displayOf(const ScaledMonitor& monitor) {
        for (const DisplayInfo& candidate : displays.displays()) {
            if (candidate.frame.width == monitor.area.width() / monitor.scale &&
                candidate.frame.height == monitor.area.height() / monitor.scale) {
                return candidate;
            }
        }
        ADD_FAILURE() << "no such display";
        return {};
    }

    static QRect pixelsOf(const ScaledMonitor& monitor, const QRect& points) {
        const auto scaled = [&monitor](int value) { return qRound(value * monitor.scale); };
        return {monitor.area.x() + scaled(points.x()), monitor.area.y() + scaled(points.y()),
                scaled(points.width()), scaled(points.height())};
    }
};

INSTANTIATE_TEST_SUITE_P(Monitor, QuickPanelHostScaleTest,
                         testing::Values(ScaledMonitor{"Plain", QRect(0, 17, 423, 600), 1},
                                         ScaledMonitor{"Middle", QRect(423, 101, 420, 601), 1.5},
                                         ScaledMonitor{"Fine", QRect(843, 3, 437, 700), 2}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(QuickPanelHostScaleTest, APanelStandsExactlyWhereItWasAskedFor) {
    const auto display = displayOf(GetParam());
    const QRect points(20, 40, 160, 100);
    const QRect pixels = pixelsOf(GetParam(), points);
    const auto panel = openDrawn(requestAt(display, points), pixels);
    EXPECT_EQ(desktop.windowsAt(pixels).size(), 1U);
}

TEST_P(QuickPanelHostScaleTest, ViewsAreDrawnInTheMonitorsOwnPixels) {
    const auto display = displayOf(GetParam());
    const QRect points(20, 40, 160, 100);
    const QRect pixels = pixelsOf(GetParam(), points);
    const auto panel = openDrawn(requestAt(display, points), pixels);
    // A square of one point begins 21 points in: whole pixels of pure colour and nothing blurred.
    const QImage shot = desktop.screen(pixels);
    int pure = 0;
    int mixed = 0;
    for (int y = 0; y < shot.height(); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            const QRgb pixel = shot.pixel(x, y);
            pure += pixel == blue ? 1 : 0;
            mixed += pixel != blue && pixel != red ? 1 : 0;
        }
    }
    const double scale = GetParam().scale;
    EXPECT_EQ(mixed, 0);
    EXPECT_GE(pure, int(scale) * int(scale));
    EXPECT_LE(pure, 4);
}

TEST_P(QuickPanelHostScaleTest, CornersAndStripsAreCutInPixels) {
    const auto display = displayOf(GetParam());
    const QRect points(20, 40, 160, 100);
    const QRect pixels = pixelsOf(GetParam(), points);
    model->cornerRadius = 10;
    auto request = requestAt(display, points);
    request.cornerRadius = 10;
    const auto panel = openDrawn(request, pixels);
    const int radius = qRound(10 * GetParam().scale);
    EXPECT_EQ(desktop.pixel(pixels.topLeft() + QPoint(radius, 0)), red);
    EXPECT_EQ(desktop.pixel(pixels.topLeft() + QPoint(0, radius)), red);
    EXPECT_NE(desktop.pixel(pixels.topLeft()), red);
    panel->glide({.strip = {21, 51, 101, 3},
                  .fraction = 1,
                  .duration = std::chrono::hours(1),
                  .fill = {0, 1, 0, 1},
                  .track = {0, 0, 1, 1}});
    const QRect strip =
        pixelsOf(GetParam(), QRect(21, 51, 101, 3))
            .translated(pixelsOf(GetParam(), points).topLeft() - GetParam().area.topLeft());
    EXPECT_TRUE(desktop.waitForPixel(strip.topLeft(), green));
    EXPECT_NE(desktop.pixel(strip.topLeft() - QPoint(1, 0)), green);
    EXPECT_NE(desktop.pixel(strip.topLeft() - QPoint(0, 1)), green);
}

TEST_P(QuickPanelHostScaleTest, APanelStaysWhereItIsWhenItsMonitorGoes) {
    const auto display = displayOf(GetParam());
    const QRect points(20, 40, 160, 100);
    const QRect pixels = pixelsOf(GetParam(), points);
    auto panel = openDrawn(requestAt(display, points), pixels);
    desktop.removeMonitor(QString::fromLatin1(GetParam().name));
    drainEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(desktop.windowsAt(pixels).size(), 1U);
    EXPECT_EQ(desktop.pixel(pixels.center()), red);
    model->setSurface(Qt::white);
    EXPECT_TRUE(desktop.waitForPixel(pixels.center(), white)) << "it still draws";
    EXPECT_TRUE(desktop.waitForPixel(pixels.topLeft(), white));
    EXPECT_TRUE(desktop.waitForPixel(pixels.bottomRight(), white));
    EXPECT_EQ(desktop.windowsAt(pixels).size(), 1U);
    panel.reset();
    EXPECT_EQ(desktop.windowsAt(pixels).size(), 0U);
}

} // namespace lumivane::test
