#include "accounts/KeychainCredentialStore.h"

#include "accounts/AccountCoding.h"

#include <memory>

namespace lumivane {

namespace {

using Loaded = std::shared_ptr<std::optional<SecretText>>;

QCoro::Task<void> loadInto(Loaded loaded, KeychainItem item, UnlockPrompt prompt,
                           std::stop_token stop) {
    *loaded = co_await item.load(prompt, stop);
}

QCoro::Task<void> saveItem(SecretText data, KeychainItem item, UnlockPrompt prompt,
                           std::stop_token stop) {
    co_await item.save(data, prompt, stop);
}

QCoro::Task<void> clearItem(KeychainItem item, UnlockPrompt prompt, std::stop_token stop) {
    co_await item.clear(prompt, stop);
}

SecretText encoded(const StoredSession& session) {
    QByteArray json = encodeSecretJson(session);
    SecretText secret(json);
    overwriteWithZeros(json);
    return secret;
}

} // namespace

KeychainCredentialStore::KeychainCredentialStore(SecretItemStore& items, const QString& itsService)
    : m_item(items, {itsService, account}) {}

QCoro::Task<std::optional<StoredSession>> KeychainCredentialStore::load(UnlockPrompt prompt,
                                                                        std::stop_token stop) {
    const Loaded loaded = std::make_shared<std::optional<SecretText>>();
    const SerialCalls::Call call = [loaded, item = m_item, prompt](std::stop_token stop) {
        return loadInto(loaded, item, prompt, stop);
    };
    co_await m_calls.run(call, stop);
    if (!*loaded) {
        co_return std::nullopt;
    }
    co_return decodeSecretJson<StoredSession>((*loaded)->reveal());
}

QCoro::Task<void> KeychainCredentialStore::save(StoredSession session, UnlockPrompt prompt,
                                                std::stop_token stop) {
    const SerialCalls::Call call = [data = encoded(session), item = m_item,
                                    prompt](std::stop_token stop) {
        return saveItem(data, item, prompt, stop);
    };
    co_await m_calls.run(call, stop);
}

QCoro::Task<void> KeychainCredentialStore::clear(UnlockPrompt prompt, std::stop_token stop) {
    const SerialCalls::Call call = [item = m_item, prompt](std::stop_token stop) {
        return clearItem(item, prompt, stop);
    };
    co_await m_calls.run(call, stop);
}

} // namespace lumivane
