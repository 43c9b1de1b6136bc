#pragma once

#include "platform/PanelHost.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lumivane::test {

/// Panels without a desktop: keeps what was opened, and is clicked by the test. A closed panel lets
/// go of its model at once. Panels may outlive it.
class FakePanelHost final : public PanelHost {
public:
    struct Opened {
        PanelRequest request;
        QUrl view;
        std::shared_ptr<QObject> model;                ///< none once the panel is closed
        std::vector<std::optional<StripGlide>> glides; ///< none: one was stopped
        bool isUp = true;
    };

    FakePanelHost();

    std::unique_ptr<Panel> open(const PanelRequest& request, PanelContent content) override;

    /// Every panel in order of opening; a panel's number is its index.
    const std::vector<Opened>& opened() const;

    /// The numbers of the panels that were closed, in that order.
    const std::vector<std::size_t>& closed() const;

    /// The numbers of the panels that are up, in order of opening.
    std::vector<std::size_t> up() const;

    /// The model of a panel that is up, the newest one by default.
    template <typename Model>
    std::shared_ptr<Model> model(std::optional<std::size_t> number = std::nullopt) const {
        return std::dynamic_pointer_cast<Model>(opened().at(number.value_or(newest())).model);
    }

    // What the view of the newest panel that is up calls of its model, by name as a view does.
    // False when there is no such panel or its model has no such operation.

    bool tap() { return call("tap"); }

    bool dismiss() { return call("dismiss"); }

    bool act() { return call("act"); }

    bool hover(bool isOver);

    /// Hears of each opening and closing when it happens, with the panel's number.
    std::function<void(std::size_t)> onOpen;
    std::function<void(std::size_t)> onClose;

private:
    struct State;
    class FakePanel;

    std::size_t newest() const;
    bool call(const char* operation);

    std::shared_ptr<State> m_state;
};

} // namespace lumivane::test
