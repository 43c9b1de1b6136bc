#include "ui/LumivaneStatusItemController.h"

#include "ui/LumivaneStatusMenuState.h"

#include <array>
#include <chrono>
#include <cmath>
#include <utility>

namespace lumivane {

namespace {

using LumivaneStatusIconRenderer::capturingPupilRadius;
using LumivaneStatusIconRenderer::restingPupilRadius;

const auto applicationTitle = u"Lumivane"_qs;

constexpr int frameCount = 11;
constexpr std::chrono::milliseconds frameInterval{16};

/// The sizes that trays ask for, from a low panel's to one of twice the density.
constexpr std::array iconEdges{16, 22, 24, 32, 48, 64};

constexpr double easeOutCubic(double progress) {
    const double rest = 1 - progress;
    return 1 - rest * rest * rest;
}

constexpr double pupilRadiusOf(LumivaneDisplayState state) {
    return state == LumivaneDisplayState::capturing ? capturingPupilRadius : restingPupilRadius;
}

std::vector<QImage> iconImages(LumivaneDisplayState state, double pupilRadius,
                               Appearance appearance) {
    std::vector<QImage> images;
    for (const int edge : iconEdges) {
        images.push_back(LumivaneStatusIconRenderer::bitmapRepresentation(
            state, pupilRadius, appearance, edge / LumivaneStatusIconRenderer::pointSize.width()));
    }
    return images;
}

const StatusMenuItem separator{};

StatusMenuItem information(const QString& title) { return {title, false, {}}; }

} // namespace

LumivaneStatusItemController::LumivaneStatusItemController(StatusItemPorts ports)
    : m_ports(std::move(ports)) {
    observeModel();
    synchronizeStatusItem();
}

LumivaneStatusItemController::~LumivaneStatusItemController() { invalidate(); }

void LumivaneStatusItemController::invalidate() {
    m_isInvalidated = true;
    disconnect(&m_ports.model, nullptr, this, nullptr);
    removeStatusItem();
}

void LumivaneStatusItemController::screenRecordingChanged() { synchronizeStatusItem(); }

void LumivaneStatusItemController::observeModel() {
    AppModel* model = &m_ports.model;
    connect(model, &AppModel::settingsChanged, this,
            &LumivaneStatusItemController::synchronizeStatusItem);
    connect(model, &AppModel::stateChanged, this,
            &LumivaneStatusItemController::synchronizeStatusItem);
    connect(model, &AppModel::lastAnalysisChanged, this,
            &LumivaneStatusItemController::rebuildMenu);
}

void LumivaneStatusItemController::synchronizeStatusItem() {
    const AppModel& model = m_ports.model;
    if (m_isInvalidated || !model.settings().showInMenuBar) {
        removeStatusItem();
        return;
    }
    ensureStatusItem();
    transition(
        resolveDisplayState(model.settings().paused, m_ports.hasScreenRecording(), model.state()));
    rebuildMenu();
}

void LumivaneStatusItemController::ensureStatusItem() {
    if (m_statusItem) {
        return;
    }
    m_statusItem = m_ports.statusBar.statusItem();
    m_statusItem->onPrimaryClick = [this](ClickModifier modifier) { statusItemClicked(modifier); };
    m_statusItem->onMenuWillOpen = [this] { m_ports.popover.close(); };
    m_statusItem->onAppearanceChange = [this] { refreshImage(); };
    m_statusItem->setToolTip(applicationTitle);
    m_statusItem->setAccessibility(applicationTitle, QString());
    m_statusItem->setMenu([this] { return menuItems(); });
    m_displayedState.reset();
}

void LumivaneStatusItemController::removeStatusItem() {
    m_animationTask = {};
    if (!m_statusItem) {
        return;
    }
    m_ports.popover.close();
    m_statusItem.reset();
    m_displayedState.reset();
}

void LumivaneStatusItemController::statusItemClicked(ClickModifier modifier) {
    if (modifier == ClickModifier::control) {
        showSecondaryMenu();
    } else {
        m_ports.popover.toggle(m_statusItem->geometry());
    }
}

void LumivaneStatusItemController::showSecondaryMenu() {
    if (m_statusItem) {
        m_statusItem->showMenu();
    }
}

std::vector<StatusMenuItem> LumivaneStatusItemController::menuItems() const {
    const LumivaneStatusMenuState state(m_ports.model.settings(),
                                        m_ports.model.lastResult().has_value());
    const StatusMenuActions& actions = m_ports.actions;
    return {
        {u"Analyze Current Display"_qs, state.analyzeEnabled, actions.analyzeCurrentDisplay},
        {state.pauseTitle, true, actions.togglePaused},
        separator,
        information(state.presetTitle),
        information(state.activationTitle),
        separator,
        {u"Settings…"_qs, true, actions.presentSettings},
        {u"Show Test Overlay"_qs, true, actions.showTestOverlay},
        {u"Copy Last Result"_qs, state.copyEnabled, actions.copyLastResult},
        {u"Show Last Result Again"_qs, state.copyEnabled, actions.showLastResultAgain},
        {u"Run Diagnostics"_qs, true, actions.runDiagnostics},
        separator,
        {u"Quit Lumivane"_qs, true, actions.terminate},
    };
}

void LumivaneStatusItemController::rebuildMenu() {
    if (m_statusItem) {
        m_statusItem->refreshMenu();
    }
}

void LumivaneStatusItemController::transition(LumivaneDisplayState state) {
    const QString spoken = accessibilityValue(state);
    m_statusItem->setToolTip(applicationTitle + u" — "_qs + spoken);
    m_statusItem->setAccessibility(applicationTitle, spoken);
    if (m_displayedState == state && m_animationTask && !m_ports.accessibility.reduceMotion()) {
        return; // on its way there already: a run says two words of one state
    }
    m_animationTask = {};
    const double target = pupilRadiusOf(state);
    const bool isAtOnce = state == LumivaneDisplayState::paused || m_displayedState == state ||
                          m_currentPupilRadius == target || m_ports.accessibility.reduceMotion();
    if (isAtOnce) {
        show(state, target);
        return;
    }
    // The frames come in the colours of where they lead.
    m_displayedState = state;
    m_animationTask = TaskHandle::start([self = Self(this), target](std::stop_token stop) {
        return animatePupil(self, target, std::move(stop));
    });
}

void LumivaneStatusItemController::show(LumivaneDisplayState state, double pupilRadius) {
    m_displayedState = state;
    m_currentPupilRadius = pupilRadius;
    refreshImage();
}

void LumivaneStatusItemController::refreshImage() {
    if (m_statusItem && m_displayedState) {
        m_statusItem->setImages(
            iconImages(*m_displayedState, m_currentPupilRadius, m_statusItem->appearance()));
    }
}

QCoro::Task<void> LumivaneStatusItemController::animatePupil(Self self, double target,
                                                             std::stop_token stop) {
    if (!self || stop.stop_requested()) {
        co_return;
    }
    Clock* const clock = &self->m_ports.clock;
    const double start = self->m_currentPupilRadius;
    for (int frame = 1; frame <= frameCount; ++frame) {
        if (!self || stop.stop_requested()) {
            co_return;
        }
        const double progress = double(frame) / frameCount;
        self->m_currentPupilRadius = std::lerp(start, target, easeOutCubic(progress));
        self->refreshImage();
        if (frame < frameCount) {
            co_await clock->sleep(frameInterval, stop);
        }
    }
    self->m_animationTask = {};
}

} // namespace lumivane
