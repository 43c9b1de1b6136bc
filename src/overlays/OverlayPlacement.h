#pragma once

#include "domain/AppSettings.h"
#include "overlays/OverlayScreen.h"
#include "platform/PanelHost.h"

namespace lumivane {

/// Width and height of a panel, in points.
struct OverlaySize {
    double width = 0;
    double height = 0;

    bool operator==(const OverlaySize&) const = default;
};

/// Where panels go, how big they are and what they take: values only. Lengths are in points, with
/// y growing upward as in DisplayInfo::frame.
namespace OverlayPlacement {

/// The lowest x and y of a panel at one of the nine places. The margin at the top is wider than
/// the others on purpose. A panel that is larger than the frame keeps to its upper bound and
/// sticks out at the lower one.
Point origin(OverlaySize size, OverlayPosition position, const Rect& visibleFrame);

/// The one size that follows the display in both directions.
OverlaySize leetCodeSize(const Rect& visibleFrame);

OverlaySize resultSize(ResultKind kind, const Rect& visibleFrame);
OverlaySize notesStatusSize(const Rect& visibleFrame);

// What each panel asks of its host.

PanelRequest working(const OverlayScreen& screen, const AppSettings& settings);
PanelRequest result(ResultKind kind, const OverlayScreen& screen, const AppSettings& settings);
PanelRequest error(const OverlayScreen& screen, const AppSettings& settings);

/// At the top centre, whatever the settings say.
PanelRequest notesStatus(const OverlayScreen& screen);
PanelRequest authenticationRequired(const OverlayScreen& screen, const AppSettings& settings);
PanelRequest deviceEvicted(const OverlayScreen& screen, const AppSettings& settings);

} // namespace OverlayPlacement

} // namespace lumivane
