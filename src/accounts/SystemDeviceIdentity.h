#pragma once

#include "accounts/DeviceIdentifying.h"
#include "accounts/KeychainItem.h"
#include "async/Clock.h"
#include "async/SerialCalls.h"
#include "platform/DeviceFacts.h"
#include "platform/RandomSource.h"

#include <QThreadPool>

#include <chrono>

namespace lumivane {

/// An identifier of this machine in the user's keyring, made at the first call and never again, and
/// what the system says of the machine. Signing out does not touch it. Main thread.
class SystemDeviceIdentity final : public DeviceIdentifying {
public:
    static constexpr QLatin1String ordinaryService{"com.marnoth.Lumivane.device"};
    static constexpr QLatin1String account{"identifier"};

    /// How long the computer's name is waited for before the one on the network serves.
    static constexpr std::chrono::seconds nameLimit{1};

    /// What a machine is made of outside of the program; all of it outlives this, the calls under
    /// way and the jobs of `pool`.
    struct Surroundings {
        SecretItemStore& items;
        DeviceFacts& facts;
        RandomSource& random;
        Clock& clock;
        QThreadPool& pool;                 ///< where the facts are asked for
        QString service = ordinaryService; ///< under which the identifier is kept
    };

    explicit SystemDeviceIdentity(const Surroundings& surroundings);

    QCoro::Task<DeviceRegistration> registration(UnlockPrompt prompt,
                                                 std::stop_token stop) override;

private:
    KeychainItem m_item;
    DeviceFacts* m_facts;
    RandomSource* m_random;
    Clock* m_clock;
    QThreadPool* m_pool;
    SerialCalls m_calls; ///< so that two first calls make one identifier
};

} // namespace lumivane
