#include "accounts/ProfileFieldState.h"

namespace lumivane {

QString ProfileFieldState::spokenValue() const {
    switch (m_case) {
    case Case::reverted:
        return u"Reverted"_qs;
    case Case::conflicted:
        return u"Taken"_qs;
    case Case::failed:
        return u"Not saved"_qs;
    case Case::idle:
        return u"Idle"_qs;
    case Case::editing:
        return u"Editing"_qs;
    case Case::invalidFormat:
        return u"Invalid"_qs;
    case Case::reserved:
        return u"Reserved"_qs;
    case Case::checking:
        return u"Checking"_qs;
    case Case::available:
        return u"Available"_qs;
    case Case::taken:
        return u"Taken"_qs;
    case Case::saving:
        return u"Saving"_qs;
    case Case::saved:
        return u"Saved"_qs;
    }
    Q_UNREACHABLE();
}

std::optional<QString> ProfileFieldState::message() const {
    switch (m_case) {
    case Case::reverted:
        return u"Reverted to @"_qs + m_text;
    case Case::conflicted:
        return u'@' + m_text + u" was taken while you were typing"_qs;
    case Case::failed:
        return m_text;
    case Case::idle:
    case Case::editing:
        return std::nullopt;
    case Case::invalidFormat:
        return u"2–39 letters, digits, dot, hyphen or underscore"_qs;
    case Case::reserved:
        return u"That handle is reserved"_qs;
    case Case::checking:
        return u"Checking…"_qs;
    case Case::saving:
        return u"Saving…"_qs;
    case Case::available:
    case Case::taken:
    case Case::saved:
        return spokenValue();
    }
    Q_UNREACHABLE();
}

} // namespace lumivane
