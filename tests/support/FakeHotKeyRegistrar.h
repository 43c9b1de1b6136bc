#pragma once

#include "platform/HotKeyRegistrar.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace lumivane::test {

/// Hot keys without a desktop: keeps what is live and what was asked, and is pressed by the test.
/// Registrations may outlive it.
class FakeHotKeyRegistrar final : public HotKeyRegistrar {
public:
    /// The status of a combination that is held already, as a desktop has it.
    static constexpr std::int32_t accessDenied = 10;

    /// One call, in order of arrival. Refused ones stand here too.
    struct Request {
        enum class Kind { installHandler, removeHandler, registerHotKey, unregisterHotKey };

        Kind kind = Kind::installHandler;
        HotKeyIdentifier identifier; ///< handlers have the id 0
        std::uint32_t keyCode = 0;
        std::uint32_t modifiers = 0;

        bool operator==(const Request&) const = default;
    };

    struct HotKey {
        std::uint32_t keyCode = 0;
        std::uint32_t modifiers = 0;
        HotKeyIdentifier identifier;

        bool operator==(const HotKey&) const = default;
    };

    FakeHotKeyRegistrar();

    Result installHandler(std::uint32_t signature, Handler handler) override;
    Result registerHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                          HotKeyIdentifier identifier) override;

    /// Every further handler is refused with `status`; 0 accepts again.
    void refuseHandlers(std::int32_t status) { m_handlerStatus = status; }

    /// Every further hot key is refused with `status`; 0 accepts again.
    void refuseHotKeys(std::int32_t status) { m_hotKeyStatus = status; }

    const std::vector<Request>& requests() const;
    void forgetRequests();

    /// The hot keys that are registered now.
    std::vector<HotKey> hotKeys() const;

    /// How many handlers are installed now.
    std::size_t handlerCount() const;

    /// Tells the handlers of the identifier's signature of a press, registered or not.
    void press(HotKeyIdentifier identifier);

    /// Presses a key: who registered the combination hears of it, nobody else.
    void pressKey(std::uint32_t keyCode, std::uint32_t modifiers);

private:
    struct State;
    std::shared_ptr<State> m_state;
    std::int32_t m_handlerStatus = 0;
    std::int32_t m_hotKeyStatus = 0;
};

} // namespace lumivane::test
