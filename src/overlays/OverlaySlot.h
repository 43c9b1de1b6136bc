#pragma once

#include "platform/PanelHost.h"

#include <memory>
#include <utility>

namespace lumivane {

/// The place of one kind of panel, which holds at most one. Main thread only.
///
/// A host may keep a view and its model for a while after their panel was closed. So what a model
/// calls carries the mark of its panel and does nothing once that has expired: an old view can
/// neither close nor hold up the panel that came after it.
class OverlaySlot {
public:
    /// Expires when the panel that it was given for is closed.
    using Mark = std::weak_ptr<const bool>;

    bool isUp() const { return m_panel != nullptr; }

    /// Closes what is up and gives the mark of the panel that `open` is to show next.
    Mark begin() {
        close();
        m_mark = std::make_shared<const bool>(true);
        return m_mark;
    }

    void open(PanelHost& host, const PanelRequest& request, PanelContent content) {
        m_panel = host.open(request, std::move(content));
    }

    void close() {
        m_mark.reset();
        m_panel.reset();
    }

    /// Only while a panel is up.
    Panel& panel() { return *m_panel; }

    /// `action` for as long as the panel of `mark` is up. The action may close the panel and with
    /// it all that it captured: nothing captured is touched after that.
    template <typename Action>
    static auto whileUp(Mark mark, Action action) {
        return [mark = std::move(mark), action = std::move(action)](auto&&... arguments) {
            if (!mark.expired()) {
                action(std::forward<decltype(arguments)>(arguments)...);
            }
        };
    }

private:
    std::unique_ptr<Panel> m_panel;
    std::shared_ptr<const bool> m_mark;
};

} // namespace lumivane
