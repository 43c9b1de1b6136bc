#pragma once

#include "overlays/OverlaySurface.h"
#include "overlays/WorkingOverlayState.h"

#include <QColor>
#include <QObject>

#include <memory>

namespace lumivane {

/// Words and colours of the working panel. Main thread only.
class WorkingOverlayModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString eyebrow READ eyebrow CONSTANT)
    Q_PROPERTY(QString accessibilityLabel READ accessibilityLabel CONSTANT)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(double statusOpacity READ statusOpacity NOTIFY statusChanged)
    Q_PROPERTY(double statusSize READ statusSize CONSTANT)
    Q_PROPERTY(QColor foreground READ foreground CONSTANT)

public:
    WorkingOverlayModel(const AppSettings& settings, std::shared_ptr<WorkingOverlayState> state);

    QString eyebrow() const { return u"LUMIVANE IS ANALYZING"_qs; }

    QString accessibilityLabel() const { return u"Lumivane is analyzing"_qs; }

    QString status() const;
    double statusOpacity() const;

    /// In points.
    double statusSize() const { return pointSize(m_surface.settings.overlayTextSize); }

    QColor foreground() const;

    Q_INVOKABLE QColor surface(bool reduceTransparency) const;

Q_SIGNALS:
    void statusChanged();

private:
    OverlaySurface m_surface;
    std::shared_ptr<WorkingOverlayState> m_state;
};

} // namespace lumivane
