#include "platform/DisplayServer.h"

#include <algorithm>

namespace lumivane {

std::optional<DisplayInfo> displayContaining(const std::vector<DisplayInfo>& displays,
                                             Point location) {
    const auto holds = [location](const DisplayInfo& display) {
        const Rect& frame = display.frame;
        return frame.minX() <= location.x && location.x < frame.maxX() &&
               frame.minY() < location.y && location.y <= frame.maxY();
    };
    const auto found = std::find_if(displays.begin(), displays.end(), holds);
    return found == displays.end() ? std::nullopt : std::optional(*found);
}

std::optional<DisplayInfo> displayUnderPointer(const DisplayServer& server) {
    const auto location = server.pointerLocation();
    if (!location) {
        return std::nullopt;
    }
    try {
        return displayContaining(server.displays(), *location);
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
}

} // namespace lumivane
