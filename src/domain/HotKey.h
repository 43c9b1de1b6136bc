#pragma once

#include <QString>

namespace lumivane {

/// A keyboard shortcut as the user sees it; it holds no platform key code.
struct HotKey {
    bool command = false;
    bool option = false;
    bool control = false;
    bool shift = false;
    QString key; ///< as written; parsing stores it in upper case

    /// Command, Option and Control with "S". A new installation starts with another shortcut, in
    /// `AppSettings::defaults`.
    static HotKey defaultValue();

    /// The inverse of `displayValue`, without regard to case. Throws
    /// SettingsValidationError::invalidHotKey.
    static HotKey parse(const QString& text);

    /// The text form, as in "cmd+alt+E".
    QString displayValue() const;

    bool operator==(const HotKey&) const = default;
};

} // namespace lumivane
