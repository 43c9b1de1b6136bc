#pragma once

#include "platform/linux/ToolkitServer.h"

#include <QRect>
#include <QSize>

#include <cstdint>
#include <vector>

namespace lumivane {

/// The opacity of a soft shadow around a panel, pixel by pixel. Nothing of it lies under the panel
/// itself, which may be see-through.
class ShadowImage {
public:
    /// `panel` and `radius` are in pixels, `scale` in pixels per point.
    ShadowImage(const QSize& panel, double radius, double scale);

    /// The panel's top left corner is at (`reach`, `reach` - `drop`).
    QSize size() const;

    int reach() const { return m_reach; }

    int drop() const { return m_drop; }

    /// One row as premultiplied ARGB.
    void copyRow(int y, std::uint32_t* pixels) const;

private:
    double coverage(int x, int y) const;

    QSize m_panel;
    double m_radius;
    int m_reach;
    int m_drop;
    QSize m_sampleSize; ///< of the blurred sample, whose middle row and column stand for all others
    std::vector<float> m_sample;
};

/// A window with the shadow of a panel directly under it. It lets the pointer through.
class PanelShadow {
public:
    /// `server` outlives it; `panel` need not be on screen yet, `area` is where it stands.
    PanelShadow(const ToolkitServer& server, xcb_window_t panel, const QRect& area, double radius,
                double scale);
    ~PanelShadow();
    PanelShadow(const PanelShadow&) = delete;
    PanelShadow& operator=(const PanelShadow&) = delete;

    xcb_window_t window() const { return m_window; }

private:
    void draw(const ShadowImage& image);

    const ToolkitServer& m_server;
    xcb_window_t m_window;
    xcb_colormap_t m_colours;
};

} // namespace lumivane
