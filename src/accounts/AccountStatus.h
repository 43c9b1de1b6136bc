#pragma once

#include "accounts/AuthenticationState.h"
#include "accounts/ProfileFieldState.h"

#include <QObject>
#include <QString>

#include <optional>
#include <vector>

namespace lumivane {

/// All that views may know of the account. Whoever only looks holds it as const and connects to its
/// signals; the parts of AuthenticationCoordinator write it. A signal comes only when the value is
/// another one. Main thread.
class AccountStatus final : public QObject {
    Q_OBJECT

public:
    explicit AccountStatus(AuthenticationState state = AuthenticationState::restoring());

    const AuthenticationState& state() const { return m_state; }

    /// The last trouble, in words for the user.
    const std::optional<QString>& errorMessage() const { return m_errorMessage; }

    /// Whether a deletion that failed can be tried again without another login.
    bool deletionRetryAvailable() const { return m_deletionRetryAvailable; }

    const ProviderAvailability& providerAvailability() const { return m_providerAvailability; }

    const std::vector<LinkedDevice>& devices() const { return m_devices; }

    DeviceListState devicesState() const { return m_devicesState; }

    /// The identifier of the device that something is being done to.
    const std::optional<QString>& deviceActionInFlight() const { return m_deviceActionInFlight; }

    bool takeoverInFlight() const { return m_takeoverInFlight; }

    const ProfileFieldState& handleState() const { return m_handleState; }

    const ProfileFieldState& displayNameState() const { return m_displayNameState; }

    void setState(AuthenticationState state);
    void setErrorMessage(std::optional<QString> message);
    void setDeletionRetryAvailable(bool isAvailable);
    void setProviderAvailability(ProviderAvailability availability);
    void setDevices(std::vector<LinkedDevice> devices, DeviceListState devicesState);
    void setDevicesState(DeviceListState devicesState);
    void setDeviceActionInFlight(std::optional<QString> deviceID);
    void setTakeoverInFlight(bool isInFlight);
    void setHandleState(ProfileFieldState state);
    void setDisplayNameState(ProfileFieldState state);

Q_SIGNALS:
    void stateChanged();
    void errorMessageChanged();
    void deletionRetryAvailableChanged();
    void providerAvailabilityChanged();
    void devicesChanged(); ///< the list, its state, or the device at work
    void takeoverInFlightChanged();
    void handleStateChanged();
    void displayNameStateChanged();

private:
    AuthenticationState m_state;
    std::optional<QString> m_errorMessage;
    bool m_deletionRetryAvailable = false;
    ProviderAvailability m_providerAvailability = ProviderAvailability::loading();
    std::vector<LinkedDevice> m_devices;
    DeviceListState m_devicesState = DeviceListState::idle;
    std::optional<QString> m_deviceActionInFlight;
    bool m_takeoverInFlight = false;
    ProfileFieldState m_handleState = ProfileFieldState::idle();
    ProfileFieldState m_displayNameState = ProfileFieldState::idle();
};

} // namespace lumivane
