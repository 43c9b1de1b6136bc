#include "accounts/AccountStatus.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace lumivane {

namespace {

const UserSummary ada{u"Ada"_qs, std::nullopt, {AuthProvider::github}, u"ada"_qs};

LinkedDevice deviceNamed(const QString& name) {
    LinkedDevice device;
    device.deviceID = u"d-"_qs + name;
    device.name = name;
    return device;
}

} // namespace

class AccountStatusTest : public testing::Test {
protected:
    AccountStatusTest() {
        const auto count = [this](const char* name) { return [this, name] { ++heard[name]; }; };
        QObject::connect(&status, &AccountStatus::stateChanged, &status, count("state"));
        QObject::connect(&status, &AccountStatus::errorMessageChanged, &status, count("message"));
        QObject::connect(&status, &AccountStatus::deletionRetryAvailableChanged, &status,
                         count("retry"));
        QObject::connect(&status, &AccountStatus::providerAvailabilityChanged, &status,
                         count("providers"));
        QObject::connect(&status, &AccountStatus::devicesChanged, &status, count("devices"));
        QObject::connect(&status, &AccountStatus::takeoverInFlightChanged, &status,
                         count("takeover"));
        QObject::connect(&status, &AccountStatus::handleStateChanged, &status, count("handle"));
        QObject::connect(&status, &AccountStatus::displayNameStateChanged, &status, count("name"));
    }

    AccountStatus status;
    std::map<std::string, int> heard;
};

TEST_F(AccountStatusTest, BeginsBeforeTheStoreWasRead) {
    EXPECT_EQ(status.state(), AuthenticationState::restoring());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_EQ(status.providerAvailability(), ProviderAvailability::loading());
    EXPECT_TRUE(status.devices().empty());
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
    EXPECT_EQ(status.deviceActionInFlight(), std::nullopt);
    EXPECT_FALSE(status.takeoverInFlight());
    EXPECT_EQ(status.handleState(), ProfileFieldState::idle());
    EXPECT_EQ(status.displayNameState(), ProfileFieldState::idle());
    EXPECT_EQ(AccountStatus(AuthenticationState::signedOut()).state(),
              AuthenticationState::signedOut());
}

TEST_F(AccountStatusTest, EachValueIsToldOnceAndOnlyWhenItIsAnother) {
    const std::map<std::string, std::function<void()>> changes{
        {"state", [this] { status.setState(AuthenticationState::signedIn(ada)); }},
        {"message", [this] { status.setErrorMessage(u"Trouble"_qs); }},
        {"retry", [this] { status.setDeletionRetryAvailable(true); }},
        {"providers",
         [this] {
             status.setProviderAvailability(
                 ProviderAvailability::available({AuthProvider::github}));
         }},
        {"takeover", [this] { status.setTakeoverInFlight(true); }},
        {"handle", [this] { status.setHandleState(ProfileFieldState::reverted(u"ada"_qs)); }},
        {"name", [this] { status.setDisplayNameState(ProfileFieldState::saving()); }}};
    for (const auto& [name, change] : changes) {
        heard.clear();
        change();
        EXPECT_EQ(heard, (std::map<std::string, int>{{name, 1}})) << name;
        change();
        EXPECT_EQ(heard[name], 1) << name;
    }
    EXPECT_EQ(status.state().user(), ada);
    EXPECT_EQ(status.errorMessage(), u"Trouble"_qs);
    EXPECT_TRUE(status.deletionRetryAvailable());
    EXPECT_TRUE(status.providerAvailability().offers(AuthProvider::github));
    EXPECT_TRUE(status.takeoverInFlight());
    EXPECT_EQ(status.handleState(), ProfileFieldState::reverted(u"ada"_qs));
    EXPECT_EQ(status.displayNameState(), ProfileFieldState::saving());
}

TEST_F(AccountStatusTest, AnotherPayloadIsAnotherValue) {
    status.setState(AuthenticationState::failed(u"one"_qs));
    status.setState(AuthenticationState::failed(u"two"_qs));
    EXPECT_EQ(heard["state"], 2);
    status.setHandleState(ProfileFieldState::conflicted(u"one"_qs));
    status.setHandleState(ProfileFieldState::conflicted(u"two"_qs));
    EXPECT_EQ(heard["handle"], 2);
}

TEST_F(AccountStatusTest, DevicesAndTheirStateComeTogether) {
    QObject::connect(&status, &AccountStatus::devicesChanged, &status, [this] {
        EXPECT_EQ(status.devices().size(), 1U);
        EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
    });
    status.setDevices({deviceNamed(u"Studio"_qs)}, DeviceListState::loaded);
    status.setDevices({deviceNamed(u"Studio"_qs)}, DeviceListState::loaded);
    EXPECT_EQ(heard, (std::map<std::string, int>{{"devices", 1}}));
}

TEST_F(AccountStatusTest, AListAStateAndADeviceAtWorkAreEachTold) {
    status.setDevices({deviceNamed(u"Studio"_qs)}, DeviceListState::idle);
    EXPECT_EQ(heard["devices"], 1);
    status.setDevicesState(DeviceListState::loading);
    status.setDevicesState(DeviceListState::loading);
    EXPECT_EQ(heard["devices"], 2);
    status.setDeviceActionInFlight(u"d-Studio"_qs);
    status.setDeviceActionInFlight(u"d-Studio"_qs);
    EXPECT_EQ(heard["devices"], 3);
    EXPECT_EQ(status.deviceActionInFlight(), u"d-Studio"_qs);
    EXPECT_EQ(status.devices().front().name, u"Studio"_qs);
}

TEST(LoginProviders, OfferedAndLinkedOnesAreFound) {
    const auto available = ProviderAvailability::available({AuthProvider::google});
    EXPECT_TRUE(available.offers(AuthProvider::google));
    EXPECT_FALSE(available.offers(AuthProvider::github));
    EXPECT_FALSE(ProviderAvailability::loading().offers(AuthProvider::google));
    EXPECT_FALSE(ProviderAvailability::unavailable().offers(AuthProvider::google));
    EXPECT_TRUE(ada.isLinked(AuthProvider::github));
    EXPECT_FALSE(ada.isLinked(AuthProvider::google));
}

} // namespace lumivane
