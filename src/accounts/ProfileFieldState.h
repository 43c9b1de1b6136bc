#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace lumivane {

/// Where one editable field of the profile stands.
class ProfileFieldState {
public:
    enum class Case {
        reverted,   ///< carries the handle that stands again, without its "@"
        conflicted, ///< carries the handle that was lost, without its "@"
        failed,     ///< carries a ready message
        idle,
        editing,
        invalidFormat,
        reserved,
        checking,
        available,
        taken,
        saving,
        saved,
    };

    static ProfileFieldState reverted(QString handle) {
        return {Case::reverted, std::move(handle)};
    }

    static ProfileFieldState conflicted(QString handle) {
        return {Case::conflicted, std::move(handle)};
    }

    static ProfileFieldState failed(QString message) { return {Case::failed, std::move(message)}; }

    static ProfileFieldState idle() { return {Case::idle, {}}; }

    static ProfileFieldState editing() { return {Case::editing, {}}; }

    static ProfileFieldState invalidFormat() { return {Case::invalidFormat, {}}; }

    static ProfileFieldState reserved() { return {Case::reserved, {}}; }

    static ProfileFieldState checking() { return {Case::checking, {}}; }

    static ProfileFieldState available() { return {Case::available, {}}; }

    static ProfileFieldState taken() { return {Case::taken, {}}; }

    static ProfileFieldState saving() { return {Case::saving, {}}; }

    static ProfileFieldState saved() { return {Case::saved, {}}; }

    Case stateCase() const { return m_case; }

    bool is(Case wanted) const { return m_case == wanted; }

    /// For assistive speech.
    QString spokenValue() const;

    /// The line under the field; none while there is nothing to say.
    std::optional<QString> message() const;

    bool operator==(const ProfileFieldState&) const = default;

private:
    ProfileFieldState(Case stateCase, QString text)
        : m_case(stateCase)
        , m_text(std::move(text)) {}

    Case m_case;
    QString m_text; ///< of the first three cases; empty otherwise
};

} // namespace lumivane
