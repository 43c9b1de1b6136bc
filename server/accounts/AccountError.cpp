#include "server/accounts/AccountError.h"

namespace lumivane::service {

AccountError unauthorized() {
    return {401, "unauthorized", "Your session has expired. Please log in again."};
}

AccountError deviceEvicted() {
    return {401, "device_evicted", "You signed in on another computer. Log in again to come back."};
}

AccountError insufficientScope() {
    return {403, "insufficient_scope", "This can only confirm moving your account."};
}

AccountError deviceRequired() {
    return {400, "device_required", "This computer could not be identified. Try logging in again."};
}

} // namespace lumivane::service
