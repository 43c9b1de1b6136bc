#pragma once

#include "platform/DisplayServer.h"

#include <cstdint>
#include <optional>

namespace lumivane {

/// A display that panels can go on, and the part of it that is theirs.
struct OverlayScreen {
    std::uint32_t displayID = 0;
    Rect visibleFrame; ///< points, in the coordinates of DisplayInfo::frame

    bool operator==(const OverlayScreen&) const = default;
};

/// The display of that number; none when it is gone or the server does not answer.
std::optional<OverlayScreen> screenWithDisplayID(const DisplayServer& displays,
                                                 std::uint32_t displayID);

/// The primary display, or the first one where none is marked; none when there is no display or
/// the server does not answer.
std::optional<OverlayScreen> mainScreen(const DisplayServer& displays);

} // namespace lumivane
