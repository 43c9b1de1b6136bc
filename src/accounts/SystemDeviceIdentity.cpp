#include "accounts/SystemDeviceIdentity.h"

#include "accounts/AuthenticationError.h"
#include "accounts/DeviceMetadata.h"
#include "async/BoundedJob.h"

#include <QUtf8StringView>
#include <QUuid>

#include <array>
#include <memory>
#include <optional>

namespace lumivane {

namespace {

constexpr std::size_t uuidBytes = 16;

[[noreturn]] void refuse() { throw AuthenticationError(AuthenticationError::Case::unavailable); }

/// A random identifier (RFC 4122, version 4) in its canonical upper-case form.
QString newIdentifier(RandomSource& random) {
    std::array<std::byte, uuidBytes> bytes{};
    if (!random.fill(bytes)) {
        refuse();
    }
    bytes[6] = (bytes[6] & std::byte{0x0F}) | std::byte{0x40};
    bytes[8] = (bytes[8] & std::byte{0x3F}) | std::byte{0x80};
    const QByteArrayView raw(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return QUuid::fromRfc4122(raw).toString(QUuid::WithoutBraces).toUpper();
}

/// What is damaged is not replaced: the service knows this machine by what once stood there.
QString identifierFrom(const SecretText& data) {
    const QUtf8StringView text(data.reveal());
    if (text.isEmpty() || !text.isValidUtf8()) {
        refuse();
    }
    return text.toString();
}

using Identifier = std::shared_ptr<QString>;

QCoro::Task<void> loadOrMake(Identifier identifier, KeychainItem item, RandomSource* random,
                             UnlockPrompt prompt, std::stop_token stop) {
    const std::optional<SecretText> stored = co_await item.load(prompt, stop);
    if (stored) {
        *identifier = identifierFrom(*stored);
        co_return;
    }
    const QString made = newIdentifier(*random);
    const SecretText data = SecretText::of(made);
    co_await item.save(data, prompt, stop);
    *identifier = made;
}

struct Description {
    QString hostName;
    DeviceKind kind = DeviceKind::unknown;
    QString osVersion;
};

Description describe(DeviceFacts& facts) {
    const auto hasInternalBattery = [&facts] { return facts.hasInternalBattery(); };
    return {.hostName = facts.hostName(),
            .kind = DeviceMetadata::kind(facts.hardwareModel(), hasInternalBattery),
            .osVersion = DeviceMetadata::osVersion(facts.systemVersion())};
}

} // namespace

SystemDeviceIdentity::SystemDeviceIdentity(const Surroundings& surroundings)
    : m_item(surroundings.items, {surroundings.service, account})
    , m_facts(&surroundings.facts)
    , m_random(&surroundings.random)
    , m_clock(&surroundings.clock)
    , m_pool(&surroundings.pool) {}

QCoro::Task<DeviceRegistration> SystemDeviceIdentity::registration(UnlockPrompt prompt,
                                                                   std::stop_token stop) {
    DeviceFacts* const facts = m_facts;
    Clock* const clock = m_clock;
    QThreadPool* const pool = m_pool;
    const Identifier identifier = std::make_shared<QString>();
    const SerialCalls::Call call = [identifier, item = m_item, random = m_random,
                                    prompt](std::stop_token stop) {
        return loadOrMake(identifier, item, random, prompt, stop);
    };
    co_await m_calls.run(call, stop);

    const auto askName = [facts](const std::stop_token& stop) { return facts->computerName(stop); };
    const auto asked = co_await runOnPoolWithin(*clock, nameLimit, *pool, askName, stop);
    const auto askRest = [facts](const std::stop_token&) { return describe(*facts); };
    const Description rest = co_await runOnPool(*pool, askRest, stop);

    const QString given = asked ? asked->value_or(QString()).trimmed() : QString();
    DeviceRegistration registration;
    registration.identifier = *identifier;
    registration.name = DeviceMetadata::sanitizeName(given.isEmpty() ? rest.hostName : given);
    registration.kind = rest.kind;
    registration.osVersion = rest.osVersion;
    co_return registration;
}

} // namespace lumivane
