#include "support/FakePanelHost.h"

#include <QMetaObject>

#include <utility>

namespace lumivane::test {

struct FakePanelHost::State {
    std::vector<Opened> opened;
    std::vector<std::size_t> closed;
    FakePanelHost* host = nullptr;
};

class FakePanelHost::FakePanel final : public Panel {
public:
    FakePanel(std::weak_ptr<State> state, std::size_t number)
        : m_state(std::move(state))
        , m_number(number) {}

    ~FakePanel() override {
        const auto state = m_state.lock();
        if (!state) {
            return;
        }
        state->opened[m_number].isUp = false;
        state->closed.push_back(m_number);
        if (state->host->onClose) {
            state->host->onClose(m_number);
        }
        // Last, and from a place of its own: what goes with it may look at the records.
        const auto model = std::exchange(state->opened[m_number].model, nullptr);
    }

    FakePanel(const FakePanel&) = delete;
    FakePanel& operator=(const FakePanel&) = delete;

    void glide(const StripGlide& glide) override { record(glide); }

    void stopGlide() override { record(std::nullopt); }

private:
    void record(const std::optional<StripGlide>& glide) {
        if (const auto state = m_state.lock()) {
            state->opened[m_number].glides.push_back(glide);
        }
    }

    std::weak_ptr<State> m_state;
    std::size_t m_number;
};

FakePanelHost::FakePanelHost()
    : m_state(std::make_shared<State>()) {
    m_state->host = this;
}

std::unique_ptr<Panel> FakePanelHost::open(const PanelRequest& request, PanelContent content) {
    const std::size_t number = m_state->opened.size();
    m_state->opened.push_back({request, content.view, std::move(content.model), {}, true});
    if (onOpen) {
        onOpen(number);
    }
    return std::make_unique<FakePanel>(m_state, number);
}

const std::vector<FakePanelHost::Opened>& FakePanelHost::opened() const { return m_state->opened; }

const std::vector<std::size_t>& FakePanelHost::closed() const { return m_state->closed; }

std::vector<std::size_t> FakePanelHost::up() const {
    std::vector<std::size_t> numbers;
    for (std::size_t number = 0; number < m_state->opened.size(); ++number) {
        if (m_state->opened[number].isUp) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

bool FakePanelHost::hover(bool isOver) {
    const auto model = up().empty() ? nullptr : m_state->opened[newest()].model;
    return model && QMetaObject::invokeMethod(model.get(), "hover", Qt::DirectConnection,
                                              Q_ARG(bool, isOver));
}

std::size_t FakePanelHost::newest() const {
    const auto numbers = up();
    return numbers.empty() ? m_state->opened.size() : numbers.back();
}

bool FakePanelHost::call(const char* operation) {
    // Held for the call, as a host keeps a model until its view has gone.
    const auto model = up().empty() ? nullptr : m_state->opened[newest()].model;
    return model && QMetaObject::invokeMethod(model.get(), operation, Qt::DirectConnection);
}

} // namespace lumivane::test
