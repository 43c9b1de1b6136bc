#pragma once

#include "platform/linux/ToolkitServer.h"

#include <vector>

namespace lumivane {

/// The keyboard on its way to panels and back. Panels may close in any order.
class PanelFocus {
public:
    /// `server` outlives it.
    explicit PanelFocus(const ToolkitServer& server);

    /// Gives the keyboard to a panel that can be seen.
    void take(xcb_window_t panel);

    /// Before a panel goes: the keyboard goes back to where it came from, unless the user has
    /// given it to something else by now.
    void giveBack(xcb_window_t panel);

private:
    struct Taken {
        xcb_window_t panel = XCB_NONE;
        xcb_window_t from = XCB_NONE;
    };

    const ToolkitServer& m_server;
    std::vector<Taken> m_taken;
};

} // namespace lumivane
