#include "server/http/WorkLimiter.h"

namespace lumivane::service {

WorkLimiter::Place WorkLimiter::take(const std::string& key) {
    std::size_t& count = m_atWork[key];
    if (count >= m_most) {
        return nullptr;
    }
    ++count;
    return {this, [self = shared_from_this(), key](const void*) { self->giveBack(key); }};
}

void WorkLimiter::giveBack(const std::string& key) {
    const auto entry = m_atWork.find(key);
    entry->second -= 1;
    if (entry->second == 0) {
        m_atWork.erase(entry);
    }
}

} // namespace lumivane::service
