#include "ui/LumivaneStatusMenuState.h"

namespace lumivane {

namespace {

QString activation(const AppSettings& settings) {
    switch (settings.activationMode) {
    case ActivationMode::hotkey:
        return settings.hotKey.displayValue();
    case ActivationMode::corner:
        return label(settings.corner) + u" Corner"_qs;
    }
    Q_UNREACHABLE();
}

} // namespace

LumivaneStatusMenuState::LumivaneStatusMenuState(const AppSettings& settings, bool hasLastResult)
    : analyzeEnabled(settings.configured && !settings.paused)
    , pauseTitle(settings.paused ? u"Resume Lumivane"_qs : u"Pause Lumivane"_qs)
    , presetTitle(u"Preset: "_qs + label(settings.preset))
    , activationTitle(u"Activation: "_qs + activation(settings))
    , copyEnabled(hasLastResult) {}

} // namespace lumivane
