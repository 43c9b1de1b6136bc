#pragma once

#include "accounts/AccountRecords.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace lumivane {

/// Where the login stands.
class AuthenticationState {
public:
    enum class Case {
        restoreFailed,  ///< a stored session could not be brought back; a retry is offered
        authorizing,    ///< a web login, link or re-authentication is under way
        signedIn,       ///< logged in
        deviceTakeover, ///< another machine holds the account; waits for the user's choice
        failed,         ///< a fault that the user must see
        restoring,      ///< at launch: the store has not been read yet
        signedOut,      ///< no session
        signingOut,     ///< sign-out is running
        refreshing,     ///< a refresh request is in flight
    };

    static AuthenticationState restoreFailed(QString message) {
        return {Case::restoreFailed, std::move(message)};
    }

    static AuthenticationState authorizing(AuthProvider provider) {
        return {Case::authorizing, provider};
    }

    static AuthenticationState signedIn(UserSummary user) {
        return {Case::signedIn, std::move(user)};
    }

    static AuthenticationState deviceTakeover(DeviceTakeoverContext context) {
        return {Case::deviceTakeover, std::move(context)};
    }

    static AuthenticationState failed(QString message) {
        return {Case::failed, std::move(message)};
    }

    static AuthenticationState restoring() { return {Case::restoring, {}}; }

    static AuthenticationState signedOut() { return {Case::signedOut, {}}; }

    static AuthenticationState signingOut() { return {Case::signingOut, {}}; }

    static AuthenticationState refreshing() { return {Case::refreshing, {}}; }

    Case stateCase() const { return m_case; }

    bool is(Case wanted) const { return m_case == wanted; }

    /// The user while signed in; none in every other state, `refreshing` included.
    std::optional<UserSummary> user() const { return payload<UserSummary>(); }

    bool isSignedIn() const { return m_case == Case::signedIn; }

    std::optional<DeviceTakeoverContext> takeoverContext() const {
        return payload<DeviceTakeoverContext>();
    }

    /// The provider of `authorizing`.
    std::optional<AuthProvider> provider() const { return payload<AuthProvider>(); }

    /// The message of `restoreFailed` and `failed`.
    std::optional<QString> message() const { return payload<QString>(); }

    bool operator==(const AuthenticationState&) const = default;

private:
    using Payload =
        std::variant<std::monostate, QString, AuthProvider, UserSummary, DeviceTakeoverContext>;

    AuthenticationState(Case stateCase, Payload payload)
        : m_case(stateCase)
        , m_payload(std::move(payload)) {}

    template <typename Value>
    std::optional<Value> payload() const {
        const Value* value = std::get_if<Value>(&m_payload);
        return value == nullptr ? std::nullopt : std::optional<Value>(*value);
    }

    Case m_case;
    Payload m_payload;
};

/// Whether the list of devices is there.
enum class DeviceListState { idle, loading, loaded, unavailable };

/// Which providers the service offers.
class ProviderAvailability {
public:
    enum class Case { available, loading, unavailable };

    static ProviderAvailability available(std::vector<AuthProvider> providers) {
        return {Case::available, std::move(providers)};
    }

    static ProviderAvailability loading() { return {Case::loading, {}}; }

    static ProviderAvailability unavailable() { return {Case::unavailable, {}}; }

    Case availabilityCase() const { return m_case; }

    bool is(Case wanted) const { return m_case == wanted; }

    /// The list of `available`; empty in every other case.
    const std::vector<AuthProvider>& providers() const { return m_providers; }

    bool offers(AuthProvider provider) const {
        return std::find(m_providers.begin(), m_providers.end(), provider) != m_providers.end();
    }

    bool operator==(const ProviderAvailability&) const = default;

private:
    ProviderAvailability(Case availabilityCase, std::vector<AuthProvider> providers)
        : m_case(availabilityCase)
        , m_providers(std::move(providers)) {}

    Case m_case;
    std::vector<AuthProvider> m_providers;
};

} // namespace lumivane
