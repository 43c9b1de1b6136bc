#include "accounts/AuthenticationError.h"

namespace lumivane {

namespace {

struct Row {
    AuthenticationError::Case value;
    std::string_view description;
};

using Case = AuthenticationError::Case;

constexpr std::array rows{
    Row{Case::invalidCallback, "The login response could not be verified. Please try again."},
    Row{Case::expiredSession, "Your session has expired. Please log in again."},
    Row{Case::invalidResponse, "Lumivane received an invalid login response."},
    Row{Case::unavailable, "Login is temporarily unavailable. Please try again."},
    Row{Case::cancelled, "Login was cancelled."},
    Row{Case::lastIdentity, "That is the only login on your account. Link another one first."},
    Row{Case::deviceTakeoverRequired,
        "This account is signed in on another Mac. Sign out here and log in again to move it."},
    Row{Case::deviceEvicted, "You signed in on another Mac. Lumivane is signed in there now."},
    Row{Case::deviceRequired, "Lumivane could not identify this Mac. Try logging in again."},
    Row{Case::insufficientScope, "This window can only confirm moving your account to this Mac."},
    Row{Case::handleTaken, "That handle is already taken."},
    Row{Case::handleReserved, "That handle is reserved."},
    Row{Case::identityAlreadyLinked,
        "That login already belongs to a different Lumivane account. Sign in to that account and "
        "delete it, then link it here."},
    Row{Case::providerAlreadyLinked,
        "This account already uses a different login from that provider. Unlink it first."},
    Row{Case::reauthenticationFailed,
        "That is a different account from the one you are signed in to."},
};
static_assert(isInCaseOrder(rows));

const QString noKeyring =
    u"No keyring answers on this desktop. Lumivane keeps your login there and nowhere else: start "
    u"or install one, then try again."_qs;
const QString lockedKeyring =
    u"Your keyring is locked or not set up. Lumivane keeps your login there and nowhere else: try "
    u"again, and unlock it when you are asked."_qs;
const QString damagedItem = u"Your keyring holds a session that cannot be read. Remove the entry "
                            u"\"com.marnoth.Lumivane.authentication\" from it, then try again."_qs;

} // namespace

std::optional<QString> keyringAdvice(KeyringTrouble trouble) {
    switch (trouble) {
    case KeyringTrouble::none:
        return std::nullopt;
    case KeyringTrouble::missing:
        return noKeyring;
    case KeyringTrouble::locked:
        return lockedKeyring;
    case KeyringTrouble::damaged:
        return damagedItem;
    }
    Q_UNREACHABLE();
}

bool isKeyringAdvice(const QString& text) {
    return text == noKeyring || text == lockedKeyring || text == damagedItem;
}

QString AuthenticationError::errorDescription() const {
    if (const auto advice = keyringAdvice(keyring)) {
        return *advice;
    }
    return QString(toLatin1(rows[static_cast<std::size_t>(errorCase)].description));
}

bool isCase(const std::exception_ptr& error, AuthenticationError::Case errorCase) {
    if (error) {
        try {
            std::rethrow_exception(error);
        } catch (const AuthenticationError& found) {
            return found.errorCase == errorCase;
        } catch (...) { // no error of accounts
        }
    }
    return false;
}

KeyringTrouble keyringTrouble(const std::exception_ptr& error) {
    if (error) {
        try {
            std::rethrow_exception(error);
        } catch (const AuthenticationError& found) {
            return found.keyring;
        } catch (...) { // no error of accounts
        }
    }
    return KeyringTrouble::none;
}

} // namespace lumivane
