#include "support/FakeHotKeyRegistrar.h"

#include <algorithm>
#include <utility>

namespace lumivane::test {

namespace {

struct InstalledHandler {
    std::uint32_t signature = 0;
    HotKeyRegistrar::Handler handler;
    bool isInstalled = true;
};

class Registration final : public HotKeyRegistration {
public:
    explicit Registration(std::function<void()> release)
        : m_release(std::move(release)) {}

    ~Registration() override { m_release(); }

    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    std::function<void()> m_release;
};

} // namespace

struct FakeHotKeyRegistrar::State {
    std::vector<Request> requests;
    std::vector<std::shared_ptr<InstalledHandler>> handlers;
    std::vector<HotKey> hotKeys;
};

FakeHotKeyRegistrar::FakeHotKeyRegistrar()
    : m_state(std::make_shared<State>()) {}

HotKeyRegistrar::Result FakeHotKeyRegistrar::installHandler(std::uint32_t signature,
                                                            Handler handler) {
    m_state->requests.push_back({Request::Kind::installHandler, {signature, 0}, 0, 0});
    if (m_handlerStatus != 0) {
        return {m_handlerStatus, nullptr};
    }
    auto installed = std::make_shared<InstalledHandler>();
    installed->signature = signature;
    installed->handler = std::move(handler);
    m_state->handlers.push_back(installed);
    return {0, std::make_unique<Registration>([state = m_state, installed] {
                installed->isInstalled = false;
                std::erase(state->handlers, installed);
                state->requests.push_back(
                    {Request::Kind::removeHandler, {installed->signature, 0}, 0, 0});
            })};
}

HotKeyRegistrar::Result FakeHotKeyRegistrar::registerHotKey(std::uint32_t keyCode,
                                                            std::uint32_t modifiers,
                                                            HotKeyIdentifier identifier) {
    m_state->requests.push_back({Request::Kind::registerHotKey, identifier, keyCode, modifiers});
    if (m_hotKeyStatus != 0) {
        return {m_hotKeyStatus, nullptr};
    }
    const auto& live = m_state->hotKeys;
    if (std::any_of(live.begin(), live.end(), [keyCode, modifiers](const HotKey& other) {
            return other.keyCode == keyCode && other.modifiers == modifiers;
        })) {
        return {accessDenied, nullptr};
    }
    const HotKey hotKey{keyCode, modifiers, identifier};
    m_state->hotKeys.push_back(hotKey);
    return {0, std::make_unique<Registration>([state = m_state, hotKey] {
                std::erase(state->hotKeys, hotKey);
                state->requests.push_back({Request::Kind::unregisterHotKey, hotKey.identifier,
                                           hotKey.keyCode, hotKey.modifiers});
            })};
}

const std::vector<FakeHotKeyRegistrar::Request>& FakeHotKeyRegistrar::requests() const {
    return m_state->requests;
}

void FakeHotKeyRegistrar::forgetRequests() { m_state->requests.clear(); }

std::vector<FakeHotKeyRegistrar::HotKey> FakeHotKeyRegistrar::hotKeys() const {
    return m_state->hotKeys;
}

std::size_t FakeHotKeyRegistrar::handlerCount() const { return m_state->handlers.size(); }

void FakeHotKeyRegistrar::press(HotKeyIdentifier identifier) {
    const auto handlers = m_state->handlers;
    for (const auto& installed : handlers) {
        if (installed->isInstalled && installed->signature == identifier.signature) {
            installed->handler(identifier);
        }
    }
}

void FakeHotKeyRegistrar::pressKey(std::uint32_t keyCode, std::uint32_t modifiers) {
    const auto live = m_state->hotKeys;
    for (const HotKey& hotKey : live) {
        if (hotKey.keyCode == keyCode && hotKey.modifiers == modifiers) {
            press(hotKey.identifier);
        }
    }
}

} // namespace lumivane::test
