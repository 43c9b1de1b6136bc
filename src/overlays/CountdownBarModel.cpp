#include "overlays/CountdownBarModel.h"

#include "async/Clock.h"
#include "overlays/ColorMixing.h"
#include "ui/identity/PaintColor.h"

#include <utility>

namespace lumivane {

namespace {

constexpr double trackOpacity = 0.18;
constexpr double fillOpacity = 0.5;

} // namespace

CountdownBarModel::CountdownBarModel(double total, const SrgbColor& tint,
                                     std::shared_ptr<ResultOverlayState> state)
    : m_total(total)
    , m_tint(tint)
    , m_state(std::move(state))
    , m_fraction(total > 0 ? 1 : 0) {
    connect(m_state.get(), &ResultOverlayState::isPausedChanged, this,
            &CountdownBarModel::followState);
    // In the same frame as the label: the view stays true wherever the glide does not paint.
    connect(m_state.get(), &ResultOverlayState::secondsRemainingChanged, this,
            &CountdownBarModel::hold);
}

void CountdownBarModel::setGlider(Glider glider) {
    m_glider = std::move(glider);
    passOn();
}

void CountdownBarModel::place(const QRectF& strip, const QColor& surface) {
    m_strip = strip;
    m_surface = {surface.redF(), surface.greenF(), surface.blueF(), surface.alphaF()};
    followState();
}

double CountdownBarModel::displayedFraction() const {
    return m_reduceMotion ? m_state->steppedFraction() : m_fraction;
}

QColor CountdownBarModel::fill() const { return paintColor(withOpacity(m_tint, fillOpacity)); }

QColor CountdownBarModel::track() const { return paintColor(withOpacity(m_tint, trackOpacity)); }

void CountdownBarModel::setReduceMotion(bool reduceMotion) {
    if (m_reduceMotion == reduceMotion) {
        return;
    }
    m_reduceMotion = reduceMotion;
    followState();
    Q_EMIT reduceMotionChanged();
    Q_EMIT displayedFractionChanged();
}

void CountdownBarModel::followState() {
    if (m_state->isPaused() || m_reduceMotion) {
        m_isRunning = false;
        hold();
    } else {
        run();
    }
    passOn();
}

void CountdownBarModel::hold() {
    m_fraction = m_state->preciseFraction();
    Q_EMIT displayedFractionChanged();
}

void CountdownBarModel::run() {
    m_isRunning = m_total > 0 && m_state->preciseRemaining() > 0;
    hold();
}

void CountdownBarModel::passOn() {
    if (!m_glider) {
        return;
    }
    if (!m_isRunning || m_strip.isEmpty()) {
        m_glider(std::nullopt);
        return;
    }
    const SrgbColor track = composited(withOpacity(m_tint, trackOpacity), m_surface);
    m_glider(StripGlide{
        .strip = {m_strip.x(), m_strip.y(), m_strip.width(), m_strip.height()},
        .fraction = m_state->preciseFraction(),
        .duration = secondsToDuration(m_state->preciseRemaining()),
        .fill = composited(withOpacity(m_tint, fillOpacity), track),
        .track = track,
    });
}

} // namespace lumivane
