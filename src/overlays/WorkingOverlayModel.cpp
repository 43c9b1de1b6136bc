#include "overlays/WorkingOverlayModel.h"

#include "overlays/WorkingOverlayCopy.h"
#include "ui/identity/PaintColor.h"

#include <utility>

namespace lumivane {

namespace {

constexpr double normalOpacity = 0.75;

} // namespace

WorkingOverlayModel::WorkingOverlayModel(const AppSettings& settings,
                                         std::shared_ptr<WorkingOverlayState> state)
    : m_surface{settings, false}
    , m_state(std::move(state)) {
    connect(m_state.get(), &WorkingOverlayState::isSlowChanged, this,
            &WorkingOverlayModel::statusChanged);
}

QString WorkingOverlayModel::status() const {
    return m_state->isSlow() ? WorkingOverlayCopy::slow : WorkingOverlayCopy::normal;
}

double WorkingOverlayModel::statusOpacity() const { return m_state->isSlow() ? 1 : normalOpacity; }

QColor WorkingOverlayModel::foreground() const {
    return paintColor(m_surface.settings.overlayForeground());
}

QColor WorkingOverlayModel::surface(bool reduceTransparency) const {
    return paintColor(m_surface.painted(reduceTransparency));
}

} // namespace lumivane
