#include "server/accounts/AccountError.h"

namespace lumivane::service {

Refusal deviceEvicted() {
    return {401, "device_evicted", "You signed in on another computer. Log in again to come back."};
}

Refusal insufficientScope() {
    return {403, "insufficient_scope", "This can only confirm moving your account."};
}

Refusal deviceRequired() {
    return {400, "device_required", "This computer could not be identified. Try logging in again."};
}

Refusal storageUnavailable() {
    return {503, "storage_unavailable", "Accounts cannot be reached right now. Try again soon."};
}

void refuseRecord(std::string message) {
    throw AccountError(Refusal{422, "invalid_request", std::move(message)});
}

} // namespace lumivane::service
