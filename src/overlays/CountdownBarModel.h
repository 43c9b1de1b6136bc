#pragma once

#include "overlays/ResultOverlayState.h"
#include "platform/PanelHost.h"

#include <QColor>
#include <QObject>
#include <QRectF>

#include <functional>
#include <memory>
#include <optional>

namespace lumivane {

/// The bar that shrinks with the time that a panel has left. Main thread only.
///
/// The bar does not follow the clock: it asks the panel for one long glide and is held and started
/// again as the clock is. Under Reduce Motion it moves in steps of a second instead.
class CountdownBarModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(double displayedFraction READ displayedFraction NOTIFY displayedFractionChanged)
    Q_PROPERTY(QColor fill READ fill CONSTANT)
    Q_PROPERTY(QColor track READ track CONSTANT)
    Q_PROPERTY(bool reduceMotion READ reduceMotion WRITE setReduceMotion NOTIFY reduceMotionChanged)

public:
    /// Starts a glide, or ends the one that runs where there is none.
    using Glider = std::function<void(const std::optional<StripGlide>&)>;

    /// `total` in seconds.
    CountdownBarModel(double total, const SrgbColor& tint,
                      std::shared_ptr<ResultOverlayState> state);

    /// The panel's own mechanism. Given once the panel is up; what glides by then is passed on.
    void setGlider(Glider glider);

    /// Where the bar lies, in points from the panel's top left corner, and on what; called by the
    /// view at its first display and with every change.
    Q_INVOKABLE void place(const QRectF& strip, const QColor& surface);

    /// The share of the width that the fill takes, 0 to 1.
    double displayedFraction() const;

    QColor fill() const;
    QColor track() const;

    bool reduceMotion() const { return m_reduceMotion; }

    void setReduceMotion(bool reduceMotion);

Q_SIGNALS:
    void displayedFractionChanged();
    void reduceMotionChanged();

private:
    void followState();
    void hold();
    void run();
    void passOn();

    double m_total;
    SrgbColor m_tint;
    std::shared_ptr<ResultOverlayState> m_state;
    Glider m_glider;
    QRectF m_strip;
    SrgbColor m_surface;
    double m_fraction;
    bool m_reduceMotion = false;
    bool m_isRunning = false;
};

} // namespace lumivane
