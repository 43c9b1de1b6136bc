#pragma once

#include <stdexcept>

namespace lumivane::service {

/// A request is understood and refused. `code` and `what()` go to the client; neither repeats
/// anything that the request held.
class AccountError : public std::runtime_error {
public:
    AccountError(int status, const char* code, const char* message)
        : std::runtime_error(message)
        , m_status(status)
        , m_code(code) {}

    int status() const { return m_status; }

    const char* code() const { return m_code; }

private:
    int m_status;
    const char* m_code;
};

/// The refusals that several operations share.
AccountError unauthorized();      ///< 401: no such token, or one that is no longer good
AccountError deviceEvicted();     ///< 401: the account moved to another machine
AccountError insufficientScope(); ///< 403: a ticket where a login is needed
AccountError deviceRequired();    ///< 400: no machine, or one that is not fully described

} // namespace lumivane::service
