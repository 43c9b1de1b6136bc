#pragma once

#include <QString>

#include <array>
#include <string_view>

namespace lumivane {

/// The rules of a handle, the user's public name.
namespace HandleFormat {

/// In Unicode scalars.
inline constexpr int minimumLength = 2;
inline constexpr int maximumLength = 39;

/// Names that nobody can have; all lower case.
inline constexpr std::array<std::string_view, 51> reserved{
    "admin",     "administrator", "root",     "support",  "help",      "security",
    "abuse",     "api",           "www",      "mail",     "smtp",      "lumivane",
    "lumi-vane", "account",       "accounts", "settings", "login",     "logout",
    "signin",    "signup",        "oauth",    "auth",     "me",        "my",
    "system",    "staff",         "official", "null",     "undefined", "none",
    "anonymous", "user",          "users",    "device",   "devices",   "handle",
    "handles",   "profile",       "billing",  "payments", "privacy",   "terms",
    "legal",     "status",        "health",   "healthz",  "livez",     "docs",
    "blog",      "about",         "contact"};

/// What a user typed without white space around it and without leading "@"s. White space behind
/// an "@" stays.
QString normalise(const QString& text);

/// The form in which handles are compared: lower case.
QString fold(const QString& text);

bool isWellFormed(const QString& text);
bool isReserved(const QString& text);

} // namespace HandleFormat

} // namespace lumivane
