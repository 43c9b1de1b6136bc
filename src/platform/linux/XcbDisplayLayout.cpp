#include "platform/linux/XcbDisplayLayout.h"

#include <algorithm>
#include <limits>

namespace lumivane {

namespace {

struct Span {
    std::int64_t begin = 0;
    std::int64_t end = 0; ///< one past the last

    bool meets(const XcbStrut::Range& range) const {
        return range.first < end && begin <= range.last;
    }

    void raiseBegin(std::int64_t edge, const Span& whole) {
        if (whole.begin < edge && edge < whole.end) {
            begin = std::max(begin, edge);
        }
    }

    void lowerEnd(std::int64_t edge, const Span& whole) {
        if (whole.begin < edge && edge < whole.end) {
            end = std::min(end, edge);
        }
    }

    int length() const { return static_cast<int>(std::max<std::int64_t>(0, end - begin)); }
};

} // namespace

XcbDisplayLayout::XcbDisplayLayout(std::vector<XcbMonitor> monitors)
    : m_monitors(std::move(monitors)) {
    if (m_monitors.empty()) {
        return;
    }
    const auto isPrimary = [](const XcbMonitor& monitor) { return monitor.isPrimary; };
    auto primary = std::find_if(m_monitors.begin(), m_monitors.end(), isPrimary);
    if (primary == m_monitors.end()) {
        primary = m_monitors.begin();
        primary->isPrimary = true;
    }
    m_origin = primary->area.topLeft();
    m_primaryHeight = primary->area.height() / primary->scale;
}

const XcbMonitor* XcbDisplayLayout::find(std::uint32_t id) const {
    const auto found = std::find_if(m_monitors.begin(), m_monitors.end(),
                                    [id](const XcbMonitor& monitor) { return monitor.id == id; });
    return found == m_monitors.end() ? nullptr : &*found;
}

const XcbMonitor* XcbDisplayLayout::holding(const QPoint& position) const {
    const auto found =
        std::find_if(m_monitors.begin(), m_monitors.end(), [&position](const XcbMonitor& monitor) {
            return monitor.area.contains(position);
        });
    return found == m_monitors.end() ? nullptr : &*found;
}

DisplayInfo XcbDisplayLayout::info(const XcbMonitor& monitor) const {
    return {monitor.id, frame(monitor), monitor.scale, monitor.isPrimary};
}

Rect XcbDisplayLayout::frame(const XcbMonitor& monitor) const {
    const QPoint corner = monitor.area.topLeft() - m_origin;
    const double height = monitor.area.height() / monitor.scale;
    return {double(corner.x()), m_primaryHeight - corner.y() - height,
            monitor.area.width() / monitor.scale, height};
}

// Both conversions start from the frame's own edges, so that rounding can neither put a pixel of
// the monitor outside of its frame nor make an area that fills it differ from it.

Rect XcbDisplayLayout::toPoints(const XcbMonitor& monitor, const QRect& area) const {
    const Rect whole = frame(monitor);
    const QPoint inside = area.topLeft() - monitor.area.topLeft();
    const int below = monitor.area.height() - inside.y() - area.height();
    return {whole.minX() + inside.x() / monitor.scale, whole.minY() + below / monitor.scale,
            area.width() / monitor.scale, area.height() / monitor.scale};
}

Point XcbDisplayLayout::toPoints(const XcbMonitor& monitor, const QPoint& position) const {
    const Rect whole = frame(monitor);
    const QPoint inside = position - monitor.area.topLeft();
    return {whole.minX() + inside.x() / monitor.scale, whole.maxY() - inside.y() / monitor.scale};
}

std::optional<XcbStrut> XcbStrut::fromItems(std::span<const std::uint32_t> items) {
    if (items.size() < 4) {
        return std::nullopt;
    }
    constexpr Range all{0, std::numeric_limits<std::int64_t>::max()};
    XcbStrut strut{items[0], items[1], items[2], items[3], all, all, all, all};
    if (items.size() >= 12) {
        strut.leftRows = {items[4], items[5]};
        strut.rightRows = {items[6], items[7]};
        strut.topColumns = {items[8], items[9]};
        strut.bottomColumns = {items[10], items[11]};
    }
    return strut;
}

QRect usableArea(const QRect& monitor, const QSize& root, std::span<const XcbStrut> struts) {
    const Span columns{monitor.x(), std::int64_t(monitor.x()) + monitor.width()};
    const Span rows{monitor.y(), std::int64_t(monitor.y()) + monitor.height()};
    Span freeColumns = columns;
    Span freeRows = rows;
    for (const XcbStrut& strut : struts) {
        if (strut.left > 0 && rows.meets(strut.leftRows)) {
            freeColumns.raiseBegin(strut.left, columns);
        }
        if (strut.right > 0 && rows.meets(strut.rightRows)) {
            freeColumns.lowerEnd(root.width() - strut.right, columns);
        }
        if (strut.top > 0 && columns.meets(strut.topColumns)) {
            freeRows.raiseBegin(strut.top, rows);
        }
        if (strut.bottom > 0 && columns.meets(strut.bottomColumns)) {
            freeRows.lowerEnd(root.height() - strut.bottom, rows);
        }
    }
    return {static_cast<int>(freeColumns.begin), static_cast<int>(freeRows.begin),
            freeColumns.length(), freeRows.length()};
}

} // namespace lumivane
