#pragma once

#include "domain/AppSettings.h"

namespace lumivane::test {

/// Settings that differ in many fields and in length from one number to the next, so that any
/// mixture of two shows.
inline AppSettings numberedSettings(int number) {
    AppSettings settings;
    settings.configured = true;
    settings.paused = number % 2 == 0;
    settings.customPrompt =
        QString::number(number) + u':' + QString(number * 977 % 20'000, QChar(u'a' + number % 26));
    settings.cornerSize = number / 7.0;
    settings.requestTimeoutSeconds = number;
    settings.notifyOnCopy = number % 3 == 0;
    settings.saveLeetCodeNotes = number % 5 == 0;
    return settings;
}

inline int numberOf(const AppSettings& settings) {
    return static_cast<int>(settings.requestTimeoutSeconds);
}

} // namespace lumivane::test
