#pragma once

#include "platform/DeviceFacts.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace lumivane::test {

/// A machine that is what the test says. The fields are set before it is asked.
class FakeDeviceFacts final : public DeviceFacts {
public:
    std::optional<QString> computerName(const std::stop_token& stop) override;
    QString hostName() override;
    std::optional<QString> hardwareModel() override;
    bool hasInternalBattery() override;
    SystemVersion systemVersion() override;

    /// From now on the computer's name is not found before a stop is requested.
    void holdName() { m_isNameHeld = true; }

    std::optional<QString> name = u"Studio"_qs;
    QString host = u"studio.local"_qs;
    std::optional<QString> model = u"MacBookPro18,3"_qs;
    bool battery = false;
    SystemVersion version{u"macOS"_qs, u"15"_qs, u"2"_qs};

    std::atomic<int> batteryProbes = 0;
    std::atomic<int> answersOnMainThread = 0; ///< where nothing may block

private:
    void noteThread();

    std::atomic<bool> m_isNameHeld = false;
};

} // namespace lumivane::test
