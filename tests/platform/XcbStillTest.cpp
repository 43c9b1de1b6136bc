#include "platform/StillDesktop.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace lumivane {

using test::XTestClient;
using test::XWindowSpec;
using XcbStillTest = test::StillDesktop;

namespace {

QRgb overlaid(QRgb above, QRgb below) {
    const auto channel = [above, below](int shift) {
        const unsigned keep = 255 - qAlpha(above);
        const unsigned product = (below >> shift & 0xff) * keep + 0x80;
        return ((above >> shift & 0xff) + ((product + (product >> 8)) >> 8)) << shift;
    };
    return 0xff000000U | channel(16) | channel(8) | channel(0);
}

} // namespace

TEST_F(XcbStillTest, ShowsEveryPixelOfTheDisplay) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(100, 50, 300, 200), .seed = 3});
    const QImage image = still();
    ASSERT_EQ(image.size(), QSize(640, 480));
    EXPECT_EQ(image.format(), QImage::Format_RGB32);
    EXPECT_EQ(image.pixel(0, 0), XTestClient::patternPixel(9, 0, 0, 24));
    EXPECT_EQ(image.pixel(639, 479), XTestClient::patternPixel(9, 639, 479, 24));
    EXPECT_EQ(image.pixel(100, 50), XTestClient::patternPixel(3, 0, 0, 24));
    EXPECT_EQ(image.pixel(399, 249), XTestClient::patternPixel(3, 299, 199, 24));
    EXPECT_TRUE(samePixels(image, others.screen(whole)));
}

TEST_F(XcbStillTest, StoredPixelsAreOpaque) {
    const QImage image = still(QRect(0, 0, 35, 3)); // one block of the copy and a rest
    for (int x = 0; x < 35; ++x) {
        EXPECT_EQ(reinterpret_cast<const QRgb*>(image.constScanLine(2))[x], 0xff000000U);
    }
}

TEST_F(XcbStillTest, WithoutSourceRectStartsAtTheDisplaysCorner) {
    others.setWallpaper(9, QSize(640, 480));
    StillRequest all = request();
    all.sourceRect = std::nullopt;
    EXPECT_TRUE(samePixels(displayServer->still(all), others.screen(whole)));
    all.size = {1, 1};
    const QImage pixel = displayServer->still(all);
    ASSERT_EQ(pixel.size(), QSize(1, 1));
    EXPECT_EQ(pixel.pixel(0, 0), XTestClient::patternPixel(9, 0, 0, 24));
}

TEST_F(XcbStillTest, SourceRectCutsOutItsPart) {
    others.setWallpaper(9, QSize(640, 480));
    const QRect part(13, 27, 201, 99);
    EXPECT_TRUE(samePixels(still(part), others.screen(part)));
}

TEST_F(XcbStillTest, WhatLiesBeyondTheDisplayIsBlack) {
    others.setWallpaper(9, QSize(640, 480));
    StillRequest wide = request(QRect(600, 470, 40, 10));
    wide.size = {50, 12};
    const QImage image = displayServer->still(wide);
    ASSERT_EQ(image.size(), QSize(50, 12));
    EXPECT_EQ(image.pixel(39, 9), XTestClient::patternPixel(9, 639, 479, 24));
    EXPECT_EQ(image.pixel(40, 9), 0xff000000U);
    EXPECT_EQ(image.pixel(39, 10), 0xff000000U);
    const QImage outside = still(QRect(5000, 0, 4, 4));
    EXPECT_EQ(outside.size(), QSize(4, 4));
    EXPECT_EQ(outside.pixel(3, 3), 0xff000000U);
}

TEST_F(XcbStillTest, MonitorDeclaredBeyondTheRootWindowIsBlackThere) {
    others.setWallpaper(9, QSize(640, 480));
    server.addMonitor(u"wide"_qs, QRect(600, 440, 200, 100));
    others.show({.area = QRect(590, 430, 30, 30), .seed = 2});
    const QImage before = others.screen(QRect(600, 440, 40, 40));
    ours.show({.area = QRect(610, 450, 100, 100), .seed = 7});
    StillRequest all = request();
    all.sourceRect = std::nullopt;
    all.size = {200, 100};
    const QImage image = displayServer->still(all);
    ASSERT_EQ(image.size(), QSize(200, 100));
    EXPECT_TRUE(samePixels(image.copy(0, 0, 40, 40), before));
    for (const QPoint& beyond : {QPoint(40, 0), QPoint(0, 40), QPoint(40, 40), QPoint(199, 99)}) {
        EXPECT_EQ(image.pixel(beyond), 0xff000000U) << beyond.x() << ", " << beyond.y();
    }
}

TEST_F(XcbStillTest, MonitorWhollyBeyondTheRootWindowIsBlack) {
    others.setWallpaper(9, QSize(640, 480));
    server.addMonitor(u"away"_qs, QRect(20000, 10000, 30, 20));
    StillRequest all = request();
    all.sourceRect = std::nullopt;
    all.size = {30, 20};
    const QImage image = displayServer->still(all);
    ASSERT_EQ(image.size(), QSize(30, 20));
    EXPECT_EQ(image.pixel(0, 0), 0xff000000U);
    EXPECT_EQ(image.pixel(29, 19), 0xff000000U);
}

TEST_F(XcbStillTest, OurWindowShowsTheWindowsBelow) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 200, 200), .seed = 2});
    others.show({.area = QRect(150, 100, 200, 200), .seed = 3, .borderWidth = 5});
    expectInvisible({.area = QRect(100, 75, 220, 180), .seed = 7, .borderWidth = 3});
}

TEST_F(XcbStillTest, OurWindowInTheMiddleOfTheStackShowsWhatIsAroundIt) {
    others.show({.area = QRect(50, 50, 200, 200), .seed = 2});
    const xcb_window_t window = ours.show({.area = QRect(100, 75, 220, 180), .seed = 7});
    others.show({.area = QRect(150, 100, 200, 200), .seed = 3});
    const QImage image = still();
    EXPECT_EQ(image.pixel(149, 150), XTestClient::patternPixel(2, 99, 100, 24));
    EXPECT_EQ(image.pixel(150, 150), XTestClient::patternPixel(3, 0, 50, 24));
    ours.hide(window);
    EXPECT_TRUE(samePixels(image, others.screen(whole)));
}

TEST_F(XcbStillTest, OverlappingAndOffScreenWindowsOfOursAllVanish) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 400, 300), .seed = 2});
    const QImage before = others.screen(whole);
    ours.show({.area = QRect(-40, -30, 120, 100), .seed = 7});
    ours.show({.area = QRect(60, 40, 300, 300), .seed = 8});
    ours.show({.area = QRect(200, 200, 500, 400), .seed = 6});
    EXPECT_NE(others.screen(whole), before);
    EXPECT_TRUE(samePixels(still(), before));
    const QRect part(190, 30, 60, 200);
    EXPECT_TRUE(samePixels(still(part), before.copy(part)));
}

TEST_F(XcbStillTest, OneWindowOverAllOfTheDisplayVanishes) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 400, 300), .seed = 2});
    expectInvisible({.area = whole, .seed = 7});
}

TEST_F(XcbStillTest, ShapedWindowsBelowKeepTheirHoles) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(20, 20, 300, 300),
                 .seed = 2,
                 .borderWidth = 2,
                 .shape = {QRect(0, 0, 100, 300), QRect(150, 50, 150, 100)}});
    expectInvisible({.area = QRect(60, 40, 220, 180), .seed = 7});
}

TEST_F(XcbStillTest, OurShapedWindowVanishesWithItsHolesUntouched) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 200, 200), .seed = 2});
    expectInvisible({.area = QRect(20, 20, 300, 300),
                     .seed = 7,
                     .shape = {QRect(0, 0, 100, 300), QRect(150, 50, 150, 100)}});
}

TEST_F(XcbStillTest, ChildWindowsBelowArePartOfTheirWindow) {
    const xcb_window_t parent = others.show({.area = QRect(40, 40, 300, 200), .seed = 2});
    const xcb_window_t child =
        others.show({.area = QRect(50, 30, 150, 100), .seed = 3, .parent = parent});
    others.show({.area = QRect(10, 10, 50, 50), .seed = 4, .borderWidth = 1, .parent = child});
    expectInvisible({.area = QRect(20, 20, 250, 150), .seed = 7});
}

TEST_F(XcbStillTest, InvisibleWindowsBelowAreSkipped) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(0, 0, 640, 480), .onlyTakesInput = true});
    others.show({.area = QRect(700, 500, 50, 50), .seed = 5});
    expectInvisible({.area = QRect(60, 40, 220, 180), .seed = 7});
}

TEST_F(XcbStillTest, TransparentWindowsBelowShowAsTheServerShowsThem) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 300, 200), .seed = 2, .depth = 32});
    expectInvisible({.area = QRect(100, 75, 220, 180), .seed = 7});
    expectInvisible({.area = QRect(100, 75, 220, 180), .seed = 7, .depth = 32});
}

TEST_F(XcbStillTest, TransparentWindowsBelowBlendWhereACompositorRuns) {
    others.claimCompositor();
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 300, 200), .seed = 2, .depth = 32});
    ours.show({.area = QRect(100, 75, 220, 180), .seed = 7});
    const QImage image = still();
    for (const QPoint& position : {QPoint(100, 75), QPoint(200, 180), QPoint(319, 249)}) {
        const QPoint inside = position - QPoint(50, 50);
        const QRgb above = XTestClient::patternPixel(2, inside.x(), inside.y(), 32);
        const QRgb below = XTestClient::patternPixel(9, position.x(), position.y(), 24);
        EXPECT_EQ(image.pixel(position), overlaid(above, below)) << position.x();
    }
}

TEST_F(XcbStillTest, WallpaperSmallerThanTheScreenRepeats) {
    others.setWallpaper(9, QSize(100, 70));
    expectInvisible({.area = QRect(60, 40, 400, 300), .seed = 7});
}

TEST_F(XcbStillTest, WallpaperThatIsGoneLeavesBlack) {
    others.setItems(others.root(), "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, {0x12345});
    expectInvisible({.area = QRect(60, 40, 400, 300), .seed = 7});
}

TEST_F(XcbStillTest, FrameOfAWindowManagerVanishesWithOurWindow) {
    server.startWindowManager();
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 300, 300), .seed = 2});
    const QImage before = others.screen(whole);
    const xcb_window_t window =
        ours.show({.area = QRect(10, 10, 250, 150), .seed = 7, .overridesRedirect = false});
    ASSERT_TRUE(others.waitUntilShown(window));
    // A window manager shows a window first and lists it then.
    ASSERT_TRUE(XTestClient::waitUntil(std::chrono::seconds(10), [this, window] {
        const auto managed = others.managedWindows();
        return std::find(managed.begin(), managed.end(), window) != managed.end();
    }));
    ASSERT_NE(others.screen(whole), before);
    EXPECT_TRUE(samePixels(still(), before));
}

TEST_F(XcbStillTest, FrameVanishesUnderAWindowManagerThatKeepsNoList) {
    const QImage before = others.screen(whole);
    const xcb_window_t frame = others.show({.area = QRect(40, 40, 300, 200), .seed = 2});
    ours.show({.area = QRect(4, 20, 292, 176), .seed = 7, .parent = frame});
    EXPECT_EQ(still().pixel(40, 40), XTestClient::patternPixel(2, 0, 0, 24));
    others.becomeWindowManager();
    EXPECT_TRUE(samePixels(still(), before));
}

TEST_F(XcbStillTest, OurWindowDeepInAForeignOneTakesNothingWithIt) {
    others.becomeWindowManager();
    const xcb_window_t panel = others.show({.area = QRect(0, 400, 640, 80), .seed = 2});
    const xcb_window_t slot =
        others.show({.area = QRect(600, 10, 24, 24), .seed = 3, .parent = panel});
    ours.show({.area = QRect(0, 0, 24, 24), .seed = 7, .parent = slot});
    EXPECT_TRUE(samePixels(still(), others.screen(whole)));
    EXPECT_EQ(still().pixel(0, 400), XTestClient::patternPixel(2, 0, 0, 24));
}

TEST_F(XcbStillTest, ManagedWindowOfOursVanishesHoweverDeepItsFrame) {
    const QImage before = others.screen(whole);
    const xcb_window_t frame = others.show({.area = QRect(40, 40, 300, 200), .seed = 2});
    const xcb_window_t wrapper =
        others.show({.area = QRect(4, 20, 292, 176), .seed = 3, .parent = frame});
    const xcb_window_t window =
        ours.show({.area = QRect(0, 0, 292, 176), .seed = 7, .parent = wrapper});
    others.setItems(others.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, {window});
    EXPECT_TRUE(samePixels(still(), before));
}

TEST_F(XcbStillTest, OnlyTheExcludedProcessIsLeftOut) {
    ours.show({.area = QRect(60, 40, 400, 300), .seed = 7});
    StillRequest nobody = request();
    nobody.excludedProcessID = 0;
    EXPECT_EQ(displayServer->still(nobody).pixel(60, 40), XTestClient::patternPixel(7, 0, 0, 24));
    EXPECT_EQ(still().pixel(60, 40), 0xff000000U);
}

TEST_F(XcbStillTest, EveryConnectionOfThisProcessIsItsOwn) {
    const QImage before = others.screen(whole);
    others.show({.area = QRect(60, 40, 400, 300), .seed = 7});
    XTestClient second(server.displayName());
    second.show({.area = QRect(200, 200, 100, 100), .seed = 3});
    StillRequest own = request();
    own.excludedProcessID = getpid();
    EXPECT_TRUE(samePixels(displayServer->still(own), before));
}

TEST_F(XcbStillTest, LeavesThePointerOut) {
    others.setWallpaper(9, QSize(640, 480));
    others.movePointer(QPoint(320, 240));
    EXPECT_EQ(still().pixel(322, 245), XTestClient::patternPixel(9, 322, 245, 24));
    const xcb_window_t window = ours.show({.area = QRect(300, 220, 100, 100), .seed = 7});
    EXPECT_EQ(still().pixel(322, 245), XTestClient::patternPixel(9, 322, 245, 24));
    ours.hide(window);
}

TEST_F(XcbStillTest, RefusesWhatItCannotGive) {
    StillRequest wrong = request();
    wrong.displayID = 1; // the atom PRIMARY, which is no monitor
    EXPECT_THROW(displayServer->still(wrong), DisplayServerError);
    for (const PixelSize size :
         {PixelSize{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {40000, 5}, {5, 40000}}) {
        StillRequest impossible = request();
        impossible.size = size;
        EXPECT_THROW(displayServer->still(impossible), DisplayServerError) << size.width;
    }
    EXPECT_EQ(still().size(), whole.size());
}

} // namespace lumivane
