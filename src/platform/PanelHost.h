#pragma once

#include "domain/Geometry.h"
#include "domain/SrgbColor.h"

#include <QObject>
#include <QUrl>

#include <chrono>
#include <cstdint>
#include <memory>

namespace lumivane {

/// What a panel is like; all of it is fixed while the panel is up.
struct PanelRequest {
    std::uint32_t displayID = 0;
    Rect frame;                 ///< points, in the coordinates of DisplayInfo::frame (y up)
    double cornerRadius = 0;    ///< points; where nothing is see-through, the outline is cut to it
    bool isInteractive = false; ///< otherwise clicks go to what lies under the panel
    bool acceptsKeyboard = false; ///< takes the keyboard at once and gives it back when it closes
    bool hasShadow = false;

    bool operator==(const PanelRequest&) const = default;
};

/// What a panel shows: a view, and the model that it is given as its property `model`.
struct PanelContent {
    QUrl view;
    std::shared_ptr<QObject> model; ///< lives at least as long as the view
};

/// A strip whose left part shrinks from `fraction` of its width to nothing, in linear time.
struct StripGlide {
    Rect strip;          ///< points from the panel's top left corner, y down
    double fraction = 0; ///< 0 to 1, of the width, at the start
    std::chrono::nanoseconds duration{0};
    SrgbColor fill;  ///< of the left part; it and `track` are what the eye sees,
    SrgbColor track; ///< the surface under them included

    bool operator==(const StripGlide&) const = default;
};

/// A panel on screen. It closes when this goes, which may happen inside a call of its own view.
class Panel {
public:
    virtual ~Panel() = default;

    /// Moves a strip over the view's own drawing without the main thread, in place of any glide
    /// before. A mechanism that cannot does nothing: the view repaints the strip with each second.
    virtual void glide(const StripGlide& glide) = 0;

    /// Leaves the strip to the view again.
    virtual void stopGlide() = 0;
};

/// Puts panels on the desktop: borderless, above everything, full-screen windows included, on all
/// workspaces, and without making this program the active one. Mechanism only. Main thread only.
class PanelHost {
public:
    virtual ~PanelHost() = default;

    /// Shows a panel and never fails: where the desktop is gone, nothing is seen.
    virtual std::unique_ptr<Panel> open(const PanelRequest& request, PanelContent content) = 0;
};

} // namespace lumivane
