#include "accounts/AuthClient.h"

#include "accounts/AccountCoding.h"
#include "accounts/AuthExchange.h"
#include "accounts/AuthRequestBodies.h"
#include "domain/LumivaneEndpointPolicy.h"

#include <array>
#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

constexpr std::array completeCodes{
    AuthErrorCode{"device_required", Case::deviceRequired},
    AuthErrorCode{"identity_already_linked", Case::identityAlreadyLinked},
    AuthErrorCode{"provider_already_linked", Case::providerAlreadyLinked},
    AuthErrorCode{"reauthentication_failed", Case::reauthenticationFailed},
};

constexpr std::array deviceCodes{
    AuthErrorCode{"insufficient_scope", Case::insufficientScope},
    AuthErrorCode{"device_evicted", Case::deviceEvicted},
    AuthErrorCode{"device_required", Case::deviceRequired},
};

constexpr std::array profileCodes{
    AuthErrorCode{"handle_taken", Case::handleTaken},
    AuthErrorCode{"handle_reserved", Case::handleReserved},
};

/// The providers by themselves, since the reply has no other key.
struct ProvidersResponse {
    std::vector<AuthProvider> providers;
};

/// Tells the shapes of a finished login apart.
struct CompletionKind {
    std::optional<QString> status;
};

/// A transaction beside the page's address as it was written, which alone can be judged.
struct WrittenTransaction {
    AuthTransaction transaction;
    QString authorizationURL;
};

AuthCall call(QByteArray method, QString path, std::optional<SecretText> token = std::nullopt) {
    AuthCall result;
    result.method = std::move(method);
    result.path = std::move(path);
    result.token = std::move(token);
    return result;
}

AuthCall withBody(AuthCall call, Json body) {
    call.body = std::make_unique<SecretJson>(std::move(body));
    return call;
}

AuthCall withCodes(AuthCall call, std::span<const AuthErrorCode> codes) {
    call.codes = codes;
    return call;
}

/// A good status with an unreadable body is an outage and no bad login.
template <typename Record>
Record decodeReply(const QByteArray& body) {
    try {
        return decodeSecretJson<Record>(body);
    } catch (const std::exception&) {
        throw AuthenticationError(Case::unavailable);
    }
}

/// Whatever the service says there, as long as it says it in JSON.
void checkEmptyReply(const QByteArray& body) {
    if (body.isEmpty()) {
        return;
    }
    try {
        const SecretJson ignored(parseJson(body, accountJsonLimits));
    } catch (const std::exception&) {
        throw AuthenticationError(Case::unavailable);
    }
}

} // namespace

template <>
struct JsonCoding<ProvidersResponse> {
    static ProvidersResponse decode(const Json& value) {
        return {JsonObjectReader(value).required<std::vector<AuthProvider>>("providers")};
    }
};

template <>
struct JsonCoding<CompletionKind> {
    static CompletionKind decode(const Json& value) {
        return {JsonObjectReader(value).optional<QString>("status")};
    }
};

template <>
struct JsonCoding<WrittenTransaction> {
    static WrittenTransaction decode(const Json& value) {
        return {JsonCoding<AuthTransaction>::decode(value),
                JsonObjectReader(value).required<QString>("authorization_url")};
    }
};

namespace {

AuthTransaction checkedTransaction(const QByteArray& body, const ServiceBase& base) {
    const auto written = decodeReply<WrittenTransaction>(body);
    if (!LumivaneEndpointPolicy::validate(written.authorizationURL, base.text())) {
        throw AuthenticationError(Case::invalidResponse);
    }
    return written.transaction;
}

bool needsTakeover(const QByteArray& body) {
    try {
        return decodeSecretJson<CompletionKind>(body).status == u"device_takeover_required";
    } catch (const DecodingError&) {
        return false;
    }
}

AuthCompletion completion(const QByteArray& body, AuthIntent intent) {
    if (intent == AuthIntent::deleteReauth) {
        return decodeReply<DeleteReauthentication>(body);
    }
    if (needsTakeover(body)) {
        return decodeReply<DeviceTakeoverRequired>(body);
    }
    return decodeReply<AuthCredentials>(body);
}

HandleFilterOutcome filterOutcome(const HttpResponse& response) {
    if (response.status == 304) {
        return HandleFilterUnchanged();
    }
    if (response.status == 204) {
        return HandleFilterUnavailable();
    }
    try {
        return decodeJson<HandleFilterPayload>(
            response.body, {.maximumBytes = AuthClient::maximumFilterBytes, .maximumDepth = 8});
    } catch (const std::exception&) {
        throw AuthenticationError(Case::unavailable);
    }
}

template <typename Record>
QCoro::Task<Record> fetch(std::optional<ServiceBase> base, HttpSession session, AuthCall call,
                          std::stop_token stop) {
    const SecretBytes body =
        co_await AuthExchange::send(std::move(base), session, std::move(call), std::move(stop));
    co_return decodeReply<Record>(body.share());
}

QCoro::Task<void> perform(std::optional<ServiceBase> base, HttpSession session, AuthCall call,
                          std::stop_token stop) {
    const SecretBytes body =
        co_await AuthExchange::send(std::move(base), session, std::move(call), std::move(stop));
    checkEmptyReply(body.share());
}

QCoro::Task<std::vector<AuthProvider>> fetchProviders(std::optional<ServiceBase> base,
                                                      HttpSession session, AuthCall call,
                                                      std::stop_token stop) {
    auto response = co_await fetch<ProvidersResponse>(std::move(base), session, std::move(call),
                                                      std::move(stop));
    co_return response.providers;
}

QCoro::Task<AuthTransaction> fetchTransaction(std::optional<ServiceBase> base, HttpSession session,
                                              AuthCall call, std::stop_token stop) {
    const SecretBytes body =
        co_await AuthExchange::send(base, session, std::move(call), std::move(stop));
    // Without a base nothing was sent.
    co_return checkedTransaction(body.share(), *base);
}

QCoro::Task<AuthCompletion> fetchCompletion(std::optional<ServiceBase> base, HttpSession session,
                                            AuthCall call, AuthIntent intent,
                                            std::stop_token stop) {
    const SecretBytes body =
        co_await AuthExchange::send(std::move(base), session, std::move(call), std::move(stop));
    co_return completion(body.share(), intent);
}

QCoro::Task<HandleFilterOutcome> fetchFilter(std::optional<ServiceBase> base, HttpSession session,
                                             std::optional<QString> knownVersion, SecretText token,
                                             std::stop_token stop) {
    const HttpResponse response = co_await AuthExchange::sendFilterRequest(
        std::move(base), session, std::move(knownVersion), std::move(token), std::move(stop));
    co_return filterOutcome(response);
}

} // namespace

AuthClient::AuthClient(const std::optional<QString>& baseURL,
                       const ApplicationInformation& information, HttpTransport& transport)
    : AuthClient(baseURL, information, HttpSession{&transport, standardTimeout}) {}

AuthClient::AuthClient(const std::optional<QString>& baseURL,
                       const ApplicationInformation& information, HttpSession session)
    : m_base(ServiceBase::choose(baseURL, information))
    , m_session(session) {}

QCoro::Task<std::vector<AuthProvider>> AuthClient::providers(std::stop_token stop) {
    return fetchProviders(m_base, m_session, call("GET", u"v1/auth/providers"_qs), std::move(stop));
}

QCoro::Task<AuthTransaction> AuthClient::createTransaction(AuthProvider provider, AuthIntent intent,
                                                           QString codeChallenge,
                                                           std::optional<SecretText> accessToken,
                                                           std::stop_token stop) {
    AuthCall request = withBody(call("POST", u"v1/auth/transactions"_qs, std::move(accessToken)),
                                AuthRequestBodies::transaction(provider, intent, codeChallenge));
    return fetchTransaction(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<AuthCompletion> AuthClient::complete(QString transactionID, SecretText handoffCode,
                                                 SecretText codeVerifier, AuthIntent intent,
                                                 std::optional<DeviceRegistration> device,
                                                 std::stop_token stop) {
    if (intent == AuthIntent::deleteReauth) {
        device.reset();
    }
    AuthCall request =
        withBody(withCodes(call("POST", u"v1/auth/complete"_qs), completeCodes),
                 AuthRequestBodies::complete(transactionID, handoffCode, codeVerifier, device));
    return fetchCompletion(m_base, m_session, std::move(request), intent, std::move(stop));
}

QCoro::Task<AuthCredentials> AuthClient::refresh(SecretText refreshToken, QUuid operationID,
                                                 std::stop_token stop) {
    AuthCall request = withBody(call("POST", u"v1/auth/refresh"_qs),
                                AuthRequestBodies::refresh(refreshToken, operationID));
    return fetch<AuthCredentials>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<void> AuthClient::revoke(SecretText refreshToken, std::stop_token stop) {
    AuthCall request = withBody(call("POST", u"v1/auth/revoke"_qs),
                                AuthRequestBodies::refreshRevocation(refreshToken));
    return perform(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<void> AuthClient::logout(SecretText accessToken, std::stop_token stop) {
    return perform(m_base, m_session, call("POST", u"v1/auth/logout"_qs, std::move(accessToken)),
                   std::move(stop));
}

QCoro::Task<UserSummary> AuthClient::me(SecretText accessToken, std::stop_token stop) {
    return fetch<UserSummary>(
        m_base, m_session, call("GET", u"v1/auth/me"_qs, std::move(accessToken)), std::move(stop));
}

QCoro::Task<UserSummary> AuthClient::unlink(AuthProvider provider, SecretText accessToken,
                                            std::stop_token stop) {
    AuthCall request =
        call("DELETE", u"v1/auth/identities/"_qs + rawValue(provider), std::move(accessToken));
    request.conflict = Case::lastIdentity;
    return fetch<UserSummary>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<void> AuthClient::deleteAccount(SecretText accessToken, SecretText reauthProof,
                                            std::stop_token stop) {
    AuthCall request = withBody(call("DELETE", u"v1/account"_qs, std::move(accessToken)),
                                AuthRequestBodies::deletion(reauthProof));
    return perform(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<LinkedDeviceList> AuthClient::devices(SecretText accessToken, std::stop_token stop) {
    AuthCall request =
        withCodes(call("GET", u"v1/auth/devices"_qs, std::move(accessToken)), deviceCodes);
    return fetch<LinkedDeviceList>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<AuthCredentials> AuthClient::takeover(SecretText ticket, DeviceRegistration device,
                                                  std::stop_token stop) {
    AuthCall request =
        withBody(withCodes(call("POST", u"v1/auth/takeover"_qs, std::move(ticket)), deviceCodes),
                 AuthRequestBodies::takeover(device));
    return fetch<AuthCredentials>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<UserSummary> AuthClient::updateProfile(std::optional<QString> handle,
                                                   std::optional<QString> displayName,
                                                   SecretText accessToken, std::stop_token stop) {
    AuthCall request = withBody(
        withCodes(call("PATCH", u"v1/auth/profile"_qs, std::move(accessToken)), profileCodes),
        AuthRequestBodies::profileUpdate(handle, displayName));
    return fetch<UserSummary>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<HandleAvailabilityResult>
AuthClient::handleAvailability(QString handle, SecretText accessToken, std::stop_token stop) {
    AuthCall request =
        withBody(call("POST", u"v1/auth/handles/availability"_qs, std::move(accessToken)),
                 AuthRequestBodies::handleAvailability(handle));
    return fetch<HandleAvailabilityResult>(m_base, m_session, std::move(request), std::move(stop));
}

QCoro::Task<HandleFilterOutcome> AuthClient::handleFilter(std::optional<QString> knownVersion,
                                                          SecretText accessToken,
                                                          std::stop_token stop) {
    return fetchFilter(m_base, m_session, std::move(knownVersion), std::move(accessToken),
                       std::move(stop));
}

} // namespace lumivane
