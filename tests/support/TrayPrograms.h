#pragma once

#include "support/PanelDesktop.h"

#include <QProcess>
#include <QRect>
#include <QTemporaryDir>

#include <optional>

namespace lumivane::test {

/// A tray that embeds windows, at the top of the desktop's screen. It ends with its object.
class EmbeddingTray {
public:
    enum class Ground { plain, transparent };

    EmbeddingTray(PanelDesktop& desktop, int height, Ground ground = Ground::plain);
    ~EmbeddingTray();
    EmbeddingTray(const EmbeddingTray&) = delete;
    EmbeddingTray& operator=(const EmbeddingTray&) = delete;

private:
    QProcess m_process;
};

/// A real desktop's panel with nothing but its tray, over the session bus, at the top left of the
/// desktop's screen. It ends with its object.
class DesktopPanel {
public:
    static constexpr int height = 32;

    explicit DesktopPanel(PanelDesktop& desktop);
    ~DesktopPanel();
    DesktopPanel(const DesktopPanel&) = delete;
    DesktopPanel& operator=(const DesktopPanel&) = delete;

    std::int64_t processID() const { return m_panel.processId(); }

private:
    QTemporaryDir m_home;
    QProcess m_settings; ///< where the panel looks up what it holds
    QProcess m_panel;
};

/// The smallest area that holds every pixel of about this colour, none where there is none.
std::optional<QRect> areaOfColor(const QImage& screen, QRgb color);

/// Runs the event loop until the colour is on the desktop's screen and stays where it is.
std::optional<QRect> waitForColor(PanelDesktop& desktop, QRgb color);

} // namespace lumivane::test
