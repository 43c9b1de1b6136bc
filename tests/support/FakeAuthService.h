#pragma once

#include "accounts/AuthServing.h"
#include "accounts/AuthenticationError.h"
#include "async/Clock.h"
#include "domain/ClosedSet.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <chrono>
#include <map>
#include <utility>
#include <vector>

namespace lumivane::test {

/// The account service without a wire, with one account. Every call is recorded and answered by the
/// script of its operation; the journal gets the operation's name.
///
/// A refresh is modelled: equal pairs of token and identifier are one exchange with one answer, a
/// token is exchanged once, and anything else is refused as `expiredSession`. Its exchange takes
/// place when the request comes in; `refreshAnswer` then holds or loses the answer on its way back.
class FakeAuthService final : public AuthServing {
public:
    /// What one call brought along; the rest is empty.
    struct Request {
        QString operation{};
        QByteArray token{}; ///< access, refresh or takeover, whichever the operation takes
        std::optional<QUuid> operationID{};
        std::optional<AuthProvider> provider{};
        std::optional<AuthIntent> intent{};
        QString codeChallenge{};
        QString transactionID{};
        QByteArray handoffCode{};
        QByteArray codeVerifier{};
        QByteArray reauthProof{};
        std::optional<DeviceRegistration> device{};
        std::optional<QString> handle{};
        std::optional<QString> displayName{};
        std::optional<QString> knownVersion{};
        std::stop_token stop{};
    };

    /// Dates count from `clock`. Both outlive this.
    FakeAuthService(Journal& journal, const Clock& clock)
        : m_journal(journal)
        , m_clock(clock) {}

    QCoro::Task<std::vector<AuthProvider>> providers(std::stop_token stop) override {
        note({.operation = u"providers"_qs, .stop = stop});
        return providersScript.call(stop);
    }

    QCoro::Task<AuthTransaction> createTransaction(AuthProvider provider, AuthIntent intent,
                                                   QString codeChallenge,
                                                   std::optional<SecretText> accessToken,
                                                   std::stop_token stop) override {
        note({.operation = u"createTransaction"_qs,
              .token = accessToken ? bytes(*accessToken) : QByteArray(),
              .provider = provider,
              .intent = intent,
              .codeChallenge = codeChallenge,
              .stop = stop});
        return transactionScript.call(stop);
    }

    QCoro::Task<AuthCompletion> complete(QString transactionID, SecretText handoffCode,
                                         SecretText codeVerifier, AuthIntent intent,
                                         std::optional<DeviceRegistration> device,
                                         std::stop_token stop) override {
        note({.operation = u"complete"_qs,
              .intent = intent,
              .transactionID = transactionID,
              .handoffCode = bytes(handoffCode),
              .codeVerifier = bytes(codeVerifier),
              .device = device,
              .stop = stop});
        return completeScript.call(stop);
    }

    QCoro::Task<AuthCredentials> refresh(SecretText refreshToken, QUuid operationID,
                                         std::stop_token stop) override {
        note({.operation = u"refresh"_qs,
              .token = bytes(refreshToken),
              .operationID = operationID,
              .stop = stop});
        if (refreshFailure) {
            throw *refreshFailure;
        }
        const AuthCredentials answer = exchange(bytes(refreshToken), operationID);
        co_await refreshAnswer.call(stop);
        co_return AuthCredentials(answer);
    }

    QCoro::Task<void> revoke(SecretText refreshToken, std::stop_token stop) override {
        note({.operation = u"revoke"_qs, .token = bytes(refreshToken), .stop = stop});
        co_await revokeScript.call(stop);
    }

    QCoro::Task<void> logout(SecretText accessToken, std::stop_token stop) override {
        note({.operation = u"logout"_qs, .token = bytes(accessToken), .stop = stop});
        co_await logoutScript.call(stop);
    }

    QCoro::Task<UserSummary> me(SecretText accessToken, std::stop_token stop) override {
        note({.operation = u"me"_qs, .token = bytes(accessToken), .stop = stop});
        return meScript.call(stop);
    }

    QCoro::Task<UserSummary> unlink(AuthProvider provider, SecretText accessToken,
                                    std::stop_token stop) override {
        note({.operation = u"unlink"_qs,
              .token = bytes(accessToken),
              .provider = provider,
              .stop = stop});
        return unlinkScript.call(stop);
    }

    QCoro::Task<void> deleteAccount(SecretText accessToken, SecretText reauthProof,
                                    std::stop_token stop) override {
        note({.operation = u"deleteAccount"_qs,
              .token = bytes(accessToken),
              .reauthProof = bytes(reauthProof),
              .stop = stop});
        co_await deleteScript.call(stop);
    }

    QCoro::Task<LinkedDeviceList> devices(SecretText accessToken, std::stop_token stop) override {
        note({.operation = u"devices"_qs, .token = bytes(accessToken), .stop = stop});
        return devicesScript.call(stop);
    }

    QCoro::Task<AuthCredentials> takeover(SecretText ticket, DeviceRegistration device,
                                          std::stop_token stop) override {
        note({.operation = u"takeover"_qs, .token = bytes(ticket), .device = device, .stop = stop});
        return takeoverScript.call(stop);
    }

    QCoro::Task<UserSummary> updateProfile(std::optional<QString> handle,
                                           std::optional<QString> displayName,
                                           SecretText accessToken, std::stop_token stop) override {
        note({.operation = u"updateProfile"_qs,
              .token = bytes(accessToken),
              .handle = handle,
              .displayName = displayName,
              .stop = stop});
        return profileScript.call(stop);
    }

    QCoro::Task<HandleAvailabilityResult> handleAvailability(QString handle, SecretText accessToken,
                                                             std::stop_token stop) override {
        note({.operation = u"handleAvailability"_qs,
              .token = bytes(accessToken),
              .handle = handle,
              .stop = stop});
        return availabilityScript.call(stop);
    }

    QCoro::Task<HandleFilterOutcome> handleFilter(std::optional<QString> knownVersion,
                                                  SecretText accessToken,
                                                  std::stop_token stop) override {
        note({.operation = u"handleFilter"_qs,
              .token = bytes(accessToken),
              .knownVersion = knownVersion,
              .stop = stop});
        return filterScript.call(stop);
    }

    /// A complete login whose tokens are numbered: "access-N" and "refresh-N".
    AuthCredentials login(int number) const {
        const QDateTime now = m_clock.wallNow();
        return {
            numbered("access-", number),         numbered("refresh-", number),         u"Bearer"_qs,
            now.addSecs(accessLifetime.count()), now.addSecs(refreshLifetime.count()), user};
    }

    /// What a client that logged in with the present token has stored.
    StoredSession session() const {
        return {numbered("refresh-", m_current), m_clock.wallNow().addSecs(refreshLifetime.count()),
                std::nullopt};
    }

    /// How many exchanges took place; a repeated pair adds none.
    std::size_t exchangeCount() const { return m_exchanges.size(); }

    /// The calls of one operation, in order.
    std::vector<Request> requestsTo(const QString& operation) const {
        std::vector<Request> found;
        for (const Request& each : requests) {
            if (each.operation == operation) {
                found.push_back(each);
            }
        }
        return found;
    }

    std::vector<Request> requests;

    UserSummary user{u"Ada"_qs, u"ada@example.com"_qs, {AuthProvider::github}, u"ada"_qs};
    std::chrono::seconds accessLifetime{900};
    std::chrono::seconds refreshLifetime{std::chrono::hours(24) * 30};

    /// The refresh fails before anything is exchanged.
    std::optional<AuthenticationError> refreshFailure;

    ScriptedCall<bool> refreshAnswer{true};
    ScriptedCall<std::vector<AuthProvider>> providersScript{
        std::vector<AuthProvider>{AuthProvider::google, AuthProvider::github}};
    ScriptedCall<AuthTransaction> transactionScript{
        AuthTransaction{u"transaction-1"_qs, QUrl(u"http://127.0.0.1:8787/login"_qs), QDateTime()}};
    ScriptedCall<AuthCompletion> completeScript{AuthCompletion(AuthCredentials())};
    ScriptedCall<bool> revokeScript{true};
    ScriptedCall<bool> logoutScript{true};
    ScriptedCall<UserSummary> meScript{UserSummary()};
    ScriptedCall<UserSummary> unlinkScript{UserSummary()};
    ScriptedCall<bool> deleteScript{true};
    ScriptedCall<LinkedDeviceList> devicesScript{LinkedDeviceList()};
    ScriptedCall<AuthCredentials> takeoverScript{AuthCredentials()};
    ScriptedCall<UserSummary> profileScript{UserSummary()};
    ScriptedCall<HandleAvailabilityResult> availabilityScript{HandleAvailabilityResult()};
    ScriptedCall<HandleFilterOutcome> filterScript{HandleFilterOutcome(HandleFilterUnavailable())};

private:
    static QByteArray bytes(const SecretText& text) { return text.reveal().toByteArray(); }

    static SecretText numbered(const QByteArray& name, int number) {
        return SecretText(name + QByteArray::number(number));
    }

    void note(Request request) {
        m_journal.add(request.operation);
        requests.push_back(std::move(request));
    }

    AuthCredentials exchange(const QByteArray& token, const QUuid& operationID) {
        const auto known = m_exchanges.find({token, operationID});
        if (known != m_exchanges.end()) {
            return known->second;
        }
        if (token != numbered("refresh-", m_current).reveal()) {
            throw AuthenticationError(AuthenticationError::Case::expiredSession);
        }
        ++m_current;
        return m_exchanges.emplace(std::pair(token, operationID), login(m_current)).first->second;
    }

    Journal& m_journal;
    const Clock& m_clock;
    std::map<std::pair<QByteArray, QUuid>, AuthCredentials> m_exchanges;
    int m_current = 0;
};

} // namespace lumivane::test
