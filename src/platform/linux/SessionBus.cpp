#include "platform/linux/SessionBus.h"

#include "async/MainThread.h"

#include <atomic>
#include <thread>
#include <utility>

namespace lumivane {

struct SessionBus::State {
    std::function<void(const QDBusConnection&)> onConnected; ///< main thread only
    std::atomic<bool> isWaiting = true;
};

SessionBus::SessionBus(std::function<void(const QDBusConnection&)> onConnected)
    : m_state(std::make_shared<State>()) {
    m_state->onConnected = std::move(onConnected);
    // Of its own, since nothing may ever join it.
    std::thread([state = m_state] {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        state->isWaiting = false;
        postToMainThread([state, bus] {
            if (state->onConnected) {
                state->onConnected(bus);
            }
        });
    }).detach();
}

SessionBus::~SessionBus() { m_state->onConnected = nullptr; }

bool SessionBus::isWaiting() const { return m_state->isWaiting; }

} // namespace lumivane
