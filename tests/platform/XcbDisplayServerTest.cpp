#include "platform/linux/XcbDisplayServer.h"

#include "support/XServer.h"
#include "support/XTestClient.h"
#include "support/XTestProcess.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <limits>
#include <memory>

namespace lumivane {

using test::XTestClient;

/// One screen of 800 by 600 pixels with two monitors: L of 480 by 600 and, 100 pixels lower, R of
/// 320 by 400.
class XcbDisplayServerTest : public testing::Test {
protected:
    XcbDisplayServerTest() {
        server.addMonitor(u"L"_qs, left);
        server.addMonitor(u"R"_qs, right);
    }

    void useScale(double ofRight) {
        displayServer = std::make_unique<XcbDisplayServer>(
            [ofRight](const QString& name) { return name == u"R"_qs ? ofRight : 1; },
            server.displayName());
    }

    DisplayInfo display(std::size_t number) const { return displayServer->displays().at(number); }

    /// Makes a panel of a window manager's list.
    void addPanel(const char* property, const std::vector<std::uint32_t>& items) {
        const xcb_window_t panel = client.show({.area = QRect(0, 0, 10, 10)});
        client.setItems(panel, property, XCB_ATOM_CARDINAL, items);
        panels.push_back(panel);
        client.setItems(client.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, panels);
    }

    static constexpr QRect left{0, 0, 480, 600};
    static constexpr QRect right{480, 100, 320, 400};

    test::XServer server{QSize(800, 600)};
    std::unique_ptr<XcbDisplayServer> displayServer =
        std::make_unique<XcbDisplayServer>(nullptr, server.displayName());
    XTestClient client{server.displayName()};
    std::vector<std::uint32_t> panels;
};

TEST_F(XcbDisplayServerTest, MayCaptureWhileTheServerAnswers) {
    EXPECT_TRUE(displayServer->mayCapture());
    EXPECT_TRUE(displayServer->mayCapture());
    server.kill();
    EXPECT_FALSE(displayServer->mayCapture());
}

TEST_F(XcbDisplayServerTest, ListsMonitorsWithYUpFromThePrimarysBottom) {
    const auto displays = displayServer->displays();
    ASSERT_EQ(displays.size(), 2U);
    EXPECT_EQ(displays[0].frame, (Rect{0, 0, 480, 600}));
    EXPECT_EQ(displays[1].frame, (Rect{480, 100, 320, 400}));
    EXPECT_TRUE(displays[0].isPrimary);
    EXPECT_FALSE(displays[1].isPrimary);
    EXPECT_NE(displays[0].displayID, displays[1].displayID);
}

TEST_F(XcbDisplayServerTest, MonitorsBelowThePrimaryHaveNegativeCoordinates) {
    server.removeMonitor(u"L"_qs);
    server.removeMonitor(u"R"_qs);
    server.addMonitor(u"Upper"_qs, QRect(100, 0, 400, 300));
    server.addMonitor(u"Lower"_qs, QRect(0, 300, 800, 300));
    const auto displays = displayServer->displays();
    ASSERT_EQ(displays.size(), 2U);
    for (const DisplayInfo& info : displays) {
        EXPECT_EQ(info.frame,
                  info.isPrimary ? (Rect{0, 0, 400, 300}) : (Rect{-100, -300, 800, 300}));
    }
    EXPECT_NE(displays[0].isPrimary, displays[1].isPrimary);
    client.movePointer(QPoint(0, 599));
    EXPECT_EQ(displayServer->pointerLocation(), (Point{-100, -299}));
}

TEST_F(XcbDisplayServerTest, IdentifiersStayWhenMonitorsChange) {
    const std::uint32_t identifier = display(1).displayID;
    server.removeMonitor(u"R"_qs);
    EXPECT_EQ(displayServer->displays().size(), 1U);
    EXPECT_EQ(displayServer->visibleFrame(identifier), std::nullopt);
    server.addMonitor(u"R"_qs, QRect(480, 0, 320, 200));
    EXPECT_EQ(display(1).displayID, identifier);
    EXPECT_EQ(display(1).frame, (Rect{480, 400, 320, 200}));
}

TEST_F(XcbDisplayServerTest, ScaleIsAskedByNameAndDividesTheSize) {
    useScale(2);
    EXPECT_EQ(display(0).pointPixelScale, 1);
    EXPECT_EQ(display(1).pointPixelScale, 2);
    EXPECT_EQ(display(1).frame, (Rect{480, 300, 160, 200}));
}

TEST_F(XcbDisplayServerTest, ImpossibleScaleCountsAsOne) {
    for (const double scale : {0.0, -2.0, std::numeric_limits<double>::quiet_NaN()}) {
        useScale(scale);
        EXPECT_EQ(display(1).pointPixelScale, 1);
        EXPECT_EQ(display(1).frame.width, 320);
    }
}

TEST_F(XcbDisplayServerTest, PointerIsFoundOnItsMonitor) {
    useScale(2);
    client.movePointer(QPoint(0, 0));
    EXPECT_EQ(displayServer->pointerLocation(), (Point{0, 600}));
    client.movePointer(QPoint(479, 599));
    EXPECT_EQ(displayServer->pointerLocation(), (Point{479, 1}));
    client.movePointer(QPoint(480, 100));
    EXPECT_EQ(displayServer->pointerLocation(), (Point{480, 500}));
    EXPECT_EQ(displayUnderPointer(*displayServer), display(1));
    client.movePointer(QPoint(799, 499));
    EXPECT_EQ(displayServer->pointerLocation(), (Point{639.5, 300.5}));
    EXPECT_EQ(displayUnderPointer(*displayServer), display(1));
}

TEST_F(XcbDisplayServerTest, PointerBetweenMonitorsIsNowhere) {
    client.movePointer(QPoint(600, 50));
    EXPECT_EQ(displayServer->pointerLocation(), std::nullopt);
}

TEST_F(XcbDisplayServerTest, WithoutWindowManagerAllIsFree) {
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), display(0).frame);
    EXPECT_EQ(displayServer->visibleFrame(display(1).displayID), display(1).frame);
    EXPECT_EQ(displayServer->visibleFrame(1), std::nullopt);
}

TEST_F(XcbDisplayServerTest, PanelTakesItsMonitorsRoomOnly) {
    addPanel("_NET_WM_STRUT_PARTIAL", {0, 0, 125, 0, 0, 0, 0, 0, 480, 799, 0, 0});
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), display(0).frame);
    EXPECT_EQ(displayServer->visibleFrame(display(1).displayID), (Rect{480, 100, 320, 375}));
    addPanel("_NET_WM_STRUT_PARTIAL", {70, 0, 0, 0, 0, 599, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), (Rect{70, 0, 410, 600}));
}

TEST_F(XcbDisplayServerTest, OlderStrutCountsOnlyWithoutTheNewer) {
    addPanel("_NET_WM_STRUT", {0, 0, 25, 0});
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), (Rect{0, 0, 480, 575}));
    client.setItems(panels.front(), "_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL,
                    {0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, 479});
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), (Rect{0, 40, 480, 560}));
}

TEST_F(XcbDisplayServerTest, StrutsAreInPixelsAndFreeRoomInPoints) {
    useScale(2);
    addPanel("_NET_WM_STRUT_PARTIAL", {0, 0, 150, 0, 0, 0, 0, 0, 480, 799, 0, 0});
    EXPECT_EQ(displayServer->visibleFrame(display(1).displayID), (Rect{480, 300, 160, 175}));
}

TEST_F(XcbDisplayServerTest, PanelThatIsGoneOrUnlistedTakesNothing) {
    addPanel("_NET_WM_STRUT", {0, 0, 25, 0});
    client.hide(panels.front());
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), display(0).frame);
    const xcb_window_t unlisted = client.show({.area = QRect(0, 0, 10, 10)});
    client.setItems(unlisted, "_NET_WM_STRUT", XCB_ATOM_CARDINAL, {0, 0, 25, 0});
    EXPECT_EQ(displayServer->visibleFrame(display(0).displayID), display(0).frame);
}

TEST_F(XcbDisplayServerTest, RealWindowManagerListsARealPanel) {
    server.startWindowManager();
    const xcb_window_t panel =
        client.create({.area = QRect(0, 570, 480, 30), .overridesRedirect = false});
    client.setItems(panel, "_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL,
                    {0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 479});
    client.map(panel);
    ASSERT_TRUE(client.waitUntilShown(panel));
    EXPECT_TRUE(XTestClient::waitUntil(std::chrono::seconds(10), [this] {
        return displayServer->visibleFrame(display(0).displayID) == Rect{0, 30, 480, 570};
    }));
    EXPECT_EQ(displayServer->visibleFrame(display(1).displayID), display(1).frame);
}

TEST_F(XcbDisplayServerTest, StillShowsItsMonitorOnly) {
    client.setWallpaper(9, QSize(800, 600));
    const QImage image =
        displayServer->still({display(1).displayID, getpid(), std::nullopt, {320, 400}});
    EXPECT_EQ(image, client.screen(right));
}

TEST_F(XcbDisplayServerTest, SourceRectIsInPointsOfItsMonitor) {
    useScale(2);
    client.setWallpaper(9, QSize(800, 600));
    const QImage image = displayServer->still(
        {display(1).displayID, getpid(), Rect{5, 12.5, 155, 187.5}, {310, 375}});
    EXPECT_EQ(image, client.screen(QRect(490, 125, 310, 375)));
}

TEST_F(XcbDisplayServerTest, WindowAcrossMonitorsVanishesFromBoth) {
    client.setWallpaper(9, QSize(800, 600));
    client.show({.area = QRect(300, 150, 300, 200), .seed = 3});
    const QImage before = client.screen(QRect(0, 0, 800, 600));
    test::XTestProcess ours(server.displayName());
    ours.show({.area = QRect(350, 120, 300, 200), .seed = 7});
    const auto still = [&](std::size_t number, const QRect& area) {
        return displayServer->still({display(number).displayID,
                                     ours.processID(),
                                     std::nullopt,
                                     {area.width(), area.height()}});
    };
    EXPECT_EQ(still(0, left), before.copy(left));
    EXPECT_EQ(still(1, right), before.copy(right));
}

TEST_F(XcbDisplayServerTest, DisplayThatWentAwayIsAnError) {
    const StillRequest request{display(1).displayID, getpid(), std::nullopt, {320, 400}};
    server.removeMonitor(u"R"_qs);
    EXPECT_THROW(displayServer->still(request), DisplayServerError);
}

TEST_F(XcbDisplayServerTest, DisplayThatWentAwayAfterAStillIsAnErrorUntilItIsBack) {
    const StillRequest request{display(1).displayID, getpid(), std::nullopt, {320, 400}};
    StillRequest outside = request;
    outside.sourceRect = Rect{9000, 0, 320, 400};
    displayServer->still(request);
    server.removeMonitor(u"R"_qs);
    EXPECT_THROW(displayServer->still(request), DisplayServerError);
    EXPECT_THROW(displayServer->still(outside), DisplayServerError);
    server.addMonitor(u"R"_qs, right);
    EXPECT_EQ(displayServer->still(request), client.screen(right));
    EXPECT_EQ(displayServer->still(outside).size(), QSize(320, 400));
}

TEST_F(XcbDisplayServerTest, DisplayThatMovedIsFoundWhereItIsNow) {
    client.setWallpaper(9, QSize(800, 600));
    const StillRequest request{display(1).displayID, getpid(), std::nullopt, {320, 400}};
    displayServer->still(request);
    server.removeMonitor(u"R"_qs);
    server.addMonitor(u"R"_qs, QRect(480, 200, 320, 400));
    EXPECT_EQ(displayServer->still(request), client.screen(QRect(480, 200, 320, 400)));
}

TEST_F(XcbDisplayServerTest, ServerThatCannotBeReachedIsAnError) {
    EXPECT_THROW(XcbDisplayServer(nullptr, ":7654"), DisplayServerError);
    EXPECT_THROW(XcbDisplayServer(nullptr, "nonsense"), DisplayServerError);
}

} // namespace lumivane
