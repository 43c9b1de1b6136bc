#pragma once

#include "async/SystemClock.h"
#include "platform/PanelModel.h"
#include "platform/linux/CompositorWatch.h"
#include "platform/linux/QuickPanelHost.h"
#include "platform/linux/ScreenScales.h"
#include "platform/linux/XcbDisplayServer.h"
#include "support/EventLoop.h"
#include "support/PanelDesktop.h"
#include "support/XLoggingWindow.h"

#include <QQmlEngine>

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

constexpr QRgb red = 0xffff0000;
constexpr QRgb green = 0xff00ff00;
constexpr QRgb blue = 0xff0000ff;
constexpr QRgb white = 0xffffffff;
constexpr QRgb black = 0xff000000;

/// A host with everything under it real, on a desktop of its own.
class PanelHostFixture {
public:
    explicit PanelHostFixture(PanelDesktop::Manager manager = PanelDesktop::Manager::none)
        : desktop(manager) {}

    static QUrl view() {
        return QUrl::fromLocalFile(QStringLiteral(LUMIVANE_TEST_DATA "/panels/Panel.qml"));
    }

    DisplayInfo display(std::size_t index = 0) const { return displays.displays().at(index); }

    /// A request for a place in points from the top left corner of a display.
    static PanelRequest requestAt(const DisplayInfo& display, const QRectF& area) {
        PanelRequest request;
        request.displayID = display.displayID;
        request.frame = {display.frame.minX() + area.x(),
                         display.frame.maxY() - area.y() - area.height(), area.width(),
                         area.height()};
        return request;
    }

    PanelRequest requestAt(const QRectF& area) const { return requestAt(display(), area); }

    std::unique_ptr<Panel> open(const PanelRequest& request) { return open(request, model); }

    std::unique_ptr<Panel> open(const PanelRequest& request, std::shared_ptr<PanelModel> shown) {
        return host.open(request, {view(), std::move(shown)});
    }

    /// Opens an opaque red panel and waits until it has drawn itself.
    std::unique_ptr<Panel> openDrawn(const PanelRequest& request, const QRect& pixels) {
        auto panel = open(request);
        EXPECT_TRUE(desktop.waitForPixel(pixels.center(), red));
        return panel;
    }

    PanelDesktop desktop;
    ScreenScales scales;
    XcbDisplayServer displays{[this](const QString& name) { return scales.scaleOf(name); }};
    SystemClock clock;
    QQmlEngine engine;
    CompositorWatch compositor;
    QuickPanelHost host{displays, clock, engine, compositor};
    std::shared_ptr<PanelModel> model = std::make_shared<PanelModel>();
};

/// The same once with and once without a window manager.
class PanelHostTest : public PanelHostFixture,
                      public testing::TestWithParam<PanelDesktop::Manager> {
protected:
    PanelHostTest()
        : PanelHostFixture(GetParam()) {}

    bool hasManager() const { return GetParam() != PanelDesktop::Manager::none; }
};

inline std::string nameOfManager(const testing::TestParamInfo<PanelDesktop::Manager>& each) {
    return each.param == PanelDesktop::Manager::none ? "WithoutManager" : "WithManager";
}

} // namespace lumivane::test
