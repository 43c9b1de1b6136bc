#include "platform/linux/PanelFocus.h"

#include <algorithm>

namespace lumivane {

PanelFocus::PanelFocus(const ToolkitServer& server)
    : m_server(server) {}

void PanelFocus::take(xcb_window_t panel) {
    m_taken.push_back({panel, m_server.focus()});
    m_server.setFocus(panel);
}

void PanelFocus::giveBack(xcb_window_t panel) {
    const auto found = std::find_if(m_taken.begin(), m_taken.end(),
                                    [panel](const Taken& taken) { return taken.panel == panel; });
    if (found == m_taken.end()) {
        return;
    }
    const xcb_window_t from = found->from;
    m_taken.erase(found);
    // A panel that took the keyboard from this one gives it back past it.
    for (Taken& taken : m_taken) {
        if (taken.from == panel) {
            taken.from = from;
        }
    }
    if (m_server.focus() == panel) {
        m_server.setFocus(from);
    }
}

} // namespace lumivane
