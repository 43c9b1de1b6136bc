#pragma once

#include "accounts/AuthenticationError.h"
#include "accounts/SecretJson.h"
#include "domain/SecretBytes.h"
#include "domain/ServiceBase.h"
#include "platform/HttpSession.h"

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string_view>

namespace lumivane {

/// What one code of the service's error envelope means.
struct AuthErrorCode {
    std::string_view code;
    AuthenticationError::Case error;
};

/// One call of the account service, as the account client describes it.
struct AuthCall {
    QByteArray method;
    QString path; ///< without its leading slash
    std::optional<SecretText> token;
    std::unique_ptr<SecretJson> body;
    std::optional<AuthenticationError::Case> conflict; ///< for status 409 without a known code
    std::span<const AuthErrorCode> codes;              ///< come before any status; static storage
};

/// The transfers of the account client. They stand on their own: the client may go before they end.
/// Each ends with AuthenticationError or Cancelled when it fails, and with nothing else.
namespace AuthExchange {

/// The body of a successful answer.
QCoro::Task<SecretBytes> send(std::optional<ServiceBase> base, HttpSession session, AuthCall call,
                              std::stop_token stop);

/// The handle filter's own exchange, whose statuses mean something else: any answer of 2xx or 304.
QCoro::Task<HttpResponse> sendFilterRequest(std::optional<ServiceBase> base, HttpSession session,
                                            std::optional<QString> knownVersion, SecretText token,
                                            std::stop_token stop);

} // namespace AuthExchange

} // namespace lumivane
