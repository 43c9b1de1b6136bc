#include "overlays/OverlayScreen.h"

#include <algorithm>

namespace lumivane {

namespace {

std::vector<DisplayInfo> attachedDisplays(const DisplayServer& displays) {
    try {
        return displays.displays();
    } catch (const DisplayServerError&) {
        return {};
    }
}

std::optional<OverlayScreen> screenOf(const DisplayServer& displays, std::uint32_t displayID) {
    const auto visibleFrame = displays.visibleFrame(displayID);
    return visibleFrame ? std::optional(OverlayScreen{displayID, *visibleFrame}) : std::nullopt;
}

} // namespace

std::optional<OverlayScreen> screenWithDisplayID(const DisplayServer& displays,
                                                 std::uint32_t displayID) {
    const auto attached = attachedDisplays(displays);
    const bool isAttached =
        std::any_of(attached.begin(), attached.end(), [displayID](const DisplayInfo& display) {
            return display.displayID == displayID;
        });
    return isAttached ? screenOf(displays, displayID) : std::nullopt;
}

std::optional<OverlayScreen> mainScreen(const DisplayServer& displays) {
    const auto attached = attachedDisplays(displays);
    if (attached.empty()) {
        return std::nullopt;
    }
    const auto primary = std::find_if(attached.begin(), attached.end(),
                                      [](const DisplayInfo& display) { return display.isPrimary; });
    return screenOf(displays, (primary == attached.end() ? attached.begin() : primary)->displayID);
}

} // namespace lumivane
