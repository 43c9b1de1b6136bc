#pragma once

#include "platform/DisplayServer.h"

#include <QRect>
#include <QSize>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace lumivane {

/// One monitor as the server describes it: pixels, y growing downward, origin of the root window.
struct XcbMonitor {
    std::uint32_t id = 0; ///< the atom of its name
    QRect area;
    bool isPrimary = false;
    double scale = 1; ///< pixels per point
};

/// The monitors of the desktop and their place in points.
///
/// As in the toolkit, a monitor keeps its pixel position as its position in points and only its
/// size is divided by its scale, so monitors never overlap. What points mean between monitors is
/// nobody's business. Without a primary monitor the first one serves as such.
class XcbDisplayLayout {
public:
    explicit XcbDisplayLayout(std::vector<XcbMonitor> monitors);

    const std::vector<XcbMonitor>& monitors() const { return m_monitors; }

    /// None when no monitor has this identifier; valid as long as the layout.
    const XcbMonitor* find(std::uint32_t id) const;

    /// None when the position lies on no monitor.
    const XcbMonitor* holding(const QPoint& position) const;

    DisplayInfo info(const XcbMonitor& monitor) const;

    /// A part of a monitor in global points, y growing upward from the primary one's bottom.
    Rect toPoints(const XcbMonitor& monitor, const QRect& area) const;

    /// A pixel in global points: the top row of a monitor is its frame's maxY.
    Point toPoints(const XcbMonitor& monitor, const QPoint& position) const;

private:
    Rect frame(const XcbMonitor& monitor) const;

    std::vector<XcbMonitor> m_monitors;
    QPoint m_origin; ///< the primary monitor's top left, in pixels
    double m_primaryHeight = 0;
};

/// What one panel or dock reserves, counted from the edges of the root window. Ranges hold both
/// their ends.
struct XcbStrut {
    struct Range {
        std::int64_t first = 0;
        std::int64_t last = 0;
    };

    std::int64_t left = 0;
    std::int64_t right = 0;
    std::int64_t top = 0;
    std::int64_t bottom = 0;
    Range leftRows;
    Range rightRows;
    Range topColumns;
    Range bottomColumns;

    /// From the twelve numbers of the newer window property or the first four of the older one,
    /// which counts for the whole edge; none for any other form.
    static std::optional<XcbStrut> fromItems(std::span<const std::uint32_t> items);
};

/// The part of a monitor that panels leave free. A strut counts for the monitors whose rows or
/// columns it names, but not for one that it would swallow whole: then it only passes through to
/// a panel on an inner edge. Empty where opposite struts meet.
QRect usableArea(const QRect& monitor, const QSize& root, std::span<const XcbStrut> struts);

} // namespace lumivane
