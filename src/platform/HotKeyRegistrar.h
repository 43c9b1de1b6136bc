#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace lumivane {

/// Names a hot key among all that the process registers.
struct HotKeyIdentifier {
    std::uint32_t signature = 0; ///< four characters, big-endian
    std::uint32_t id = 0;

    bool operator==(const HotKeyIdentifier&) const = default;
};

/// Modifier masks of `HotKeyRegistrar::registerHotKey`, to be added up.
namespace hotKeyModifier {
inline constexpr std::uint32_t command = 0x0100; ///< Super on Linux
inline constexpr std::uint32_t shift = 0x0200;
inline constexpr std::uint32_t option = 0x0800; ///< Alt on Linux
inline constexpr std::uint32_t control = 0x1000;
} // namespace hotKeyModifier

/// Releases what it stands for when it goes.
class HotKeyRegistration {
public:
    virtual ~HotKeyRegistration() = default;
};

/// Grabs and releases key combinations for the whole desktop. Main thread only.
///
/// Key codes are the virtual key codes of the field's oldest global shortcut facility (0 is "A",
/// 53 is Escape); an implementation maps them to its own.
class HotKeyRegistrar {
public:
    using Handler = std::function<void(HotKeyIdentifier)>;

    /// A status of 0 is success; everything else is the mechanism's own number.
    struct Result {
        std::int32_t status = 0;
        std::unique_ptr<HotKeyRegistration> registration; ///< present exactly on success
    };

    virtual ~HotKeyRegistrar() = default;

    /// Calls `handler` on the main thread for every press of a key registered under `signature`,
    /// once per press: held keys do not repeat. The handler goes with the registration.
    virtual Result installHandler(std::uint32_t signature, Handler handler) = 0;

    /// Grabs one combination, whatever the state of Caps Lock and Num Lock. It is released with
    /// the registration.
    virtual Result registerHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                  HotKeyIdentifier identifier) = 0;
};

} // namespace lumivane
