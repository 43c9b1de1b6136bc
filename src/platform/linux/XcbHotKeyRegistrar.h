#pragma once

#include "platform/HotKeyRegistrar.h"

#include <QByteArray>

#include <cstdint>
#include <memory>

namespace lumivane {

/// Hot keys as key grabs on the root window of an X server, over a connection of its own.
///
/// A virtual key code stands for the symbol that is printed on its key, so a letter is found
/// wherever the user's layout has it, and follows when the layout changes. Combinations are
/// exclusive within the process as they are between processes. Needs a running event loop to
/// deliver. Destroying the registrar releases every grab at once; registrations may go later.
///
/// A server that is gone never ends the process: operations then answer `serverLost`, and nothing
/// is delivered any more.
class XcbHotKeyRegistrar final : public HotKeyRegistrar {
public:
    // Statuses beside the error codes of the X protocol, which are positive.

    static constexpr std::int32_t accessDenied = 10; ///< X: someone holds this combination already
    static constexpr std::int32_t serverLost = -1;
    static constexpr std::int32_t noSuchKey = -2; ///< the keyboard has no key for this code

    /// Connects to `displayName`, as in ":1"; an empty name stands for the environment's DISPLAY.
    explicit XcbHotKeyRegistrar(const QByteArray& displayName = {});
    ~XcbHotKeyRegistrar() override;
    XcbHotKeyRegistrar(const XcbHotKeyRegistrar&) = delete;
    XcbHotKeyRegistrar& operator=(const XcbHotKeyRegistrar&) = delete;

    Result installHandler(std::uint32_t signature, Handler handler) override;
    Result registerHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                          HotKeyIdentifier identifier) override;

private:
    class Core;
    std::shared_ptr<Core> m_core;
};

} // namespace lumivane
