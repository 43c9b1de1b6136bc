#pragma once

#include "platform/DisplayServer.h"

#include <utility>

namespace lumivane::test {

/// Displays and a pointer, as far as triggers look at them.
class PointerDisplayServer final : public DisplayServer {
public:
    bool mayCapture() const override { return true; }

    std::vector<DisplayInfo> displays() const override {
        ++displayReads;
        if (isLost) {
            throw DisplayServerError("The display server is gone.");
        }
        return attached;
    }

    std::optional<Rect> visibleFrame(std::uint32_t) const override { return std::nullopt; }

    std::optional<Point> pointerLocation() const override {
        ++pointerReads;
        return pointer;
    }

    QImage still(const StillRequest&) const override { return {}; }

    std::vector<DisplayInfo> attached{
        {.displayID = 7, .frame = {0, 0, 1920, 1080}, .pointPixelScale = 1, .isPrimary = true}};
    std::optional<Point> pointer = Point{960, 540};
    bool isLost = false;
    mutable int pointerReads = 0;
    mutable int displayReads = 0;
};

} // namespace lumivane::test
