#include "accounts/AccountStatus.h"

#include <utility>

namespace lumivane {

namespace {

/// Whether `field` holds another value now.
template <typename Value>
bool replace(Value& field, Value value) {
    if (field == value) {
        return false;
    }
    field = std::move(value);
    return true;
}

} // namespace

AccountStatus::AccountStatus(AuthenticationState state)
    : m_state(std::move(state)) {}

void AccountStatus::setState(AuthenticationState state) {
    if (replace(m_state, std::move(state))) {
        Q_EMIT stateChanged();
    }
}

void AccountStatus::setErrorMessage(std::optional<QString> message) {
    if (replace(m_errorMessage, std::move(message))) {
        Q_EMIT errorMessageChanged();
    }
}

void AccountStatus::setDeletionRetryAvailable(bool isAvailable) {
    if (replace(m_deletionRetryAvailable, isAvailable)) {
        Q_EMIT deletionRetryAvailableChanged();
    }
}

void AccountStatus::setProviderAvailability(ProviderAvailability availability) {
    if (replace(m_providerAvailability, std::move(availability))) {
        Q_EMIT providerAvailabilityChanged();
    }
}

void AccountStatus::setDevices(std::vector<LinkedDevice> devices, DeviceListState devicesState) {
    const bool isOtherList = replace(m_devices, std::move(devices));
    if (replace(m_devicesState, devicesState) || isOtherList) {
        Q_EMIT devicesChanged();
    }
}

void AccountStatus::setDevicesState(DeviceListState devicesState) {
    if (replace(m_devicesState, devicesState)) {
        Q_EMIT devicesChanged();
    }
}

void AccountStatus::setDeviceActionInFlight(std::optional<QString> deviceID) {
    if (replace(m_deviceActionInFlight, std::move(deviceID))) {
        Q_EMIT devicesChanged();
    }
}

void AccountStatus::setTakeoverInFlight(bool isInFlight) {
    if (replace(m_takeoverInFlight, isInFlight)) {
        Q_EMIT takeoverInFlightChanged();
    }
}

void AccountStatus::setHandleState(ProfileFieldState state) {
    if (replace(m_handleState, std::move(state))) {
        Q_EMIT handleStateChanged();
    }
}

void AccountStatus::setDisplayNameState(ProfileFieldState state) {
    if (replace(m_displayNameState, std::move(state))) {
        Q_EMIT displayNameStateChanged();
    }
}

} // namespace lumivane
