#pragma once

#include "server/http/Authorizer.h"

#include <stdexcept>
#include <utility>

namespace lumivane::service {

/// A request was understood and is refused; the refusal goes to the client as it stands.
class AccountError : public std::runtime_error {
public:
    explicit AccountError(Refusal refusal)
        : std::runtime_error(refusal.code)
        , m_refusal(std::move(refusal)) {}

    const Refusal& refusal() const { return m_refusal; }

private:
    Refusal m_refusal;
};

/// Refusals that several operations share, beside `unauthorized`.
Refusal deviceEvicted();      ///< 401 "device_evicted": the account moved to another machine
Refusal insufficientScope();  ///< 403 "insufficient_scope": a ticket where a login is needed
Refusal deviceRequired();     ///< 400 "device_required": no machine, or one not fully described
Refusal storageUnavailable(); ///< 503 "storage_unavailable": the database cannot be used now

/// Throws the refusal of a record with missing or wrong fields: 422 "invalid_request".
[[noreturn]] void refuseRecord(std::string message);

} // namespace lumivane::service
