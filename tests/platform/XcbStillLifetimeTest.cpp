#include "platform/StillDesktop.h"

#include <QDir>
#include <QFile>

#include <atomic>
#include <thread>

namespace lumivane {

using test::XTestClient;
using test::XTestProcess;
using XcbStillLifetimeTest = test::StillDesktop;

namespace {

int openFileCount() {
    return static_cast<int>(
        QDir(u"/proc/self/fd"_qs).entryList(QDir::AllEntries | QDir::System).size());
}

int sharedFrameCount() {
    QFile maps(u"/proc/self/maps"_qs);
    EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
    return static_cast<int>(maps.readAll().count("lumivane-frame"));
}

} // namespace

TEST_F(XcbStillLifetimeTest, ServerThatGoesAwayIsAnErrorAndNotTheEnd) {
    const StillRequest wanted = request();
    EXPECT_EQ(displayServer->still(wanted).size(), whole.size());
    EXPECT_TRUE(displayServer->mayCapture());
    server.kill();
    EXPECT_FALSE(displayServer->mayCapture());
    EXPECT_FALSE(displayServer->mayCapture());
    EXPECT_THROW(displayServer->still(wanted), DisplayServerError);
    EXPECT_THROW(displayServer->still(wanted), DisplayServerError);
    EXPECT_THROW(displayServer->displays(), DisplayServerError);
    EXPECT_EQ(displayServer->visibleFrame(wanted.displayID), std::nullopt);
    EXPECT_EQ(displayServer->pointerLocation(), std::nullopt);
    displayServer.reset();
    EXPECT_EQ(sharedFrameCount(), 0);
    EXPECT_THROW(XcbDisplayServer(nullptr, server.displayName()), DisplayServerError);
}

TEST_F(XcbStillLifetimeTest, ServerThatDiesInTheMiddleOfAFrameIsAnError) {
    const StillRequest wanted = request();
    std::atomic<int> taken = 0;
    std::atomic<bool> failed = false;
    std::thread worker([&] {
        try {
            while (true) {
                displayServer->still(wanted);
                ++taken;
            }
        } catch (const DisplayServerError&) {
            failed = true;
        }
    });
    while (taken < 20) {
        std::this_thread::yield();
    }
    server.kill();
    worker.join();
    EXPECT_TRUE(failed);
}

TEST_F(XcbStillLifetimeTest, ManyFramesLeaveNothingBehind) {
    others.setWallpaper(9, QSize(640, 480));
    others.show({.area = QRect(50, 50, 300, 200), .seed = 2, .depth = 32});
    ours.show({.area = QRect(100, 75, 220, 180), .seed = 7});
    const QImage first = still();
    const int files = openFileCount();
    const int segments = sharedFrameCount();
    EXPECT_EQ(segments, 1);
    for (int frame = 0; frame < 200; ++frame) {
        ASSERT_EQ(still(), first) << frame;
    }
    StillRequest wrong = request();
    wrong.displayID = 1;
    EXPECT_THROW(displayServer->still(wrong), DisplayServerError);
    EXPECT_EQ(openFileCount(), files);
    EXPECT_EQ(sharedFrameCount(), segments);
    displayServer.reset();
    EXPECT_EQ(sharedFrameCount(), 0);
}

TEST_F(XcbStillLifetimeTest, FramesAreWholeWhileWindowsComeAndGo) {
    others.setWallpaper(9, QSize(640, 480));
    const QImage before = others.screen(whole);
    ours.show({.area = QRect(100, 75, 220, 180), .seed = 7});
    std::atomic<bool> done = false;
    std::thread churn([&] {
        XTestProcess busy(server.displayName());
        while (!done) {
            busy.hide(busy.show({.area = QRect(80, 60, 60, 60), .seed = 3}));
        }
    });
    for (int frame = 0; frame < 100; ++frame) {
        const QImage image = still();
        EXPECT_EQ(image.pixel(300, 200), before.pixel(300, 200));
        const QRgb corner = image.pixel(110, 90);
        EXPECT_TRUE(corner == before.pixel(110, 90) ||
                    corner == XTestClient::patternPixel(3, 30, 30, 24));
        // One half of the small window lies below ours: both halves are of one moment.
        EXPECT_EQ(corner == before.pixel(110, 90), image.pixel(90, 90) == before.pixel(90, 90));
    }
    done = true;
    churn.join();
}

TEST_F(XcbStillLifetimeTest, OperationsMayComeFromManyThreads) {
    const StillRequest wanted = request();
    others.setWallpaper(9, QSize(640, 480));
    const QImage expected = others.screen(whole);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                wrong += displayServer->still(wanted) == expected ? 0 : 1;
                wrong += displayServer->displays().size() == 1 ? 0 : 1;
                wrong += displayServer->pointerLocation() ? 0 : 1;
                wrong += displayServer->visibleFrame(wanted.displayID) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace lumivane
