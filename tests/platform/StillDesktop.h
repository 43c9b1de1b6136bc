#pragma once

#include "platform/linux/XcbDisplayServer.h"
#include "support/XServer.h"
#include "support/XTestClient.h"
#include "support/XTestProcess.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

/// The test's own windows stand for other programs; "ours" belong to a process of their own.
class StillDesktop : public testing::Test {
protected:
    static constexpr QRect whole{0, 0, 640, 480};

    /// Names the first pixel that differs.
    static ::testing::AssertionResult samePixels(const QImage& actual, const QImage& expected);

    StillRequest request(const QRect& area = whole) const {
        const Rect source{double(area.x()), double(area.y()), double(area.width()),
                          double(area.height())};
        return {displayServer->displays().front().displayID, ours.processID(), source,
                PixelSize{area.width(), area.height()}};
    }

    QImage still(const QRect& area = whole) const { return displayServer->still(request(area)); }

    /// Shows one of our windows and looks whether the frame is as it was without it.
    void expectInvisible(const XWindowSpec& spec) {
        others.sync();
        const QImage before = others.screen(whole);
        const xcb_window_t window = ours.show(spec);
        EXPECT_NE(others.screen(whole), before);
        EXPECT_TRUE(samePixels(still(), before));
        ours.hide(window);
    }

    XServer server;
    std::unique_ptr<XcbDisplayServer> displayServer =
        std::make_unique<XcbDisplayServer>(nullptr, server.displayName());
    XTestClient others{server.displayName()};
    XTestProcess ours{server.displayName()};
};

} // namespace lumivane::test
