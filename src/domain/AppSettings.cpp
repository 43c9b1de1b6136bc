#include "domain/AppSettings.h"

#include "domain/SettingsValidationError.h"

#include <algorithm>

namespace lumivane {

const AppSettings& AppSettings::defaults() {
    static const AppSettings value;
    return value;
}

bool AppSettings::hasValidCustomPrompt() const {
    return preset != Preset::custom || !customPrompt.trimmed().isEmpty();
}

AppSettings AppSettings::normalized() const {
    const auto held = [](double value, double lower, double upper) {
        return std::min(upper, std::max(lower, value));
    };
    AppSettings copy = *this;
    copy.dwellSeconds = held(dwellSeconds, 0.0, 2.0);
    copy.resultSeconds = held(resultSeconds, 1.0, 20.0);
    copy.backgroundOpacity = held(backgroundOpacity, 0.0, 100.0);
    copy.streamText = false;
    return copy;
}

AppSettings AppSettings::validated() const {
    if (!hasValidCustomPrompt()) {
        throw SettingsValidationError(SettingsValidationError::Case::missingCustomPrompt);
    }
    if (activationMode == ActivationMode::hotkey) {
        HotKey::parse(hotKey.displayValue()); // for its failure; the field keeps its own form
    }
    return normalized();
}

QString AppSettings::clipboardValue(const QString& text) const {
    if (!includePromptWhenCopying) {
        return text;
    }
    const QString prompt = preset == Preset::custom ? customPrompt : QString(label(preset));
    return u"Prompt: "_qs + prompt + u"\n\nResult: "_qs + text;
}

SrgbColor AppSettings::overlayForeground() const { return color(overlayTextColor); }

} // namespace lumivane
