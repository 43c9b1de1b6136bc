#pragma once

#include "Specimen.h"
#include "platform/AccessibilitySettings.h"
#include "platform/LumivanePasteboard.h"

#include <QImage>
#include <QQmlEngine>
#include <QStringList>

namespace lumivane::tools {

/// What the desktop would say; the specimens change it.
class PosedAccessibilitySettings final : public AccessibilitySettings {
public:
    bool reduceMotion() const override { return false; }

    bool reduceTransparency() const override { return m_reduceTransparency; }

    void setReduceTransparency(bool reduceTransparency);

private:
    bool m_reduceTransparency = false;
};

/// A pasteboard that nobody reads.
class BlindPasteboard final : public LumivanePasteboard {
public:
    std::int64_t changeCount() const override { return 0; }

    void clear() override {}

    void setString(const QString&, PasteboardType) override {}
};

/// An announcer that nobody hears.
class MuteAnnouncer final : public Announcer {
public:
    void announce(const QString&, AnnouncementPriority) override {}
};

/// Takes pictures of panels without a display, at the scale of the process. Main thread only.
class Photographer {
public:
    /// Points of desktop around a panel.
    static constexpr int margin = 44;

    Photographer();
    Photographer(const Photographer&) = delete;
    Photographer& operator=(const Photographer&) = delete;

    /// The panel with its shadow on a piece of desktop. Throws std::runtime_error where the view
    /// does not load.
    QImage picture(const Specimen& specimen);

    /// What the views complained of since the last call, a line each.
    QStringList takeComplaints();

private:
    QImage panel(const Specimen& specimen);

    PosedAccessibilitySettings m_settings;
    BlindPasteboard m_blindPasteboard;
    OverlayPasteboard m_pasteboard{m_blindPasteboard};
    MuteAnnouncer m_announcer;
    QQmlEngine m_engine;
    QStringList m_complaints;
};

} // namespace lumivane::tools
