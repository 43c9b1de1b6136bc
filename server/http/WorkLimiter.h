#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace lumivane::service {

/// How many requests each account may have at work at one time. For the network thread alone.
class WorkLimiter : public std::enable_shared_from_this<WorkLimiter> {
public:
    /// What a request holds while it is at work; the last copy gives the place back.
    using Place = std::shared_ptr<const void>;

    explicit WorkLimiter(std::size_t most)
        : m_most(most) {}

    /// None when the key has as many at work as it may. The limiter must be held by a shared
    /// pointer.
    Place take(const std::string& key);

    /// How many keys have something at work.
    std::size_t size() const { return m_atWork.size(); }

private:
    void giveBack(const std::string& key);

    std::size_t m_most;
    std::unordered_map<std::string, std::size_t> m_atWork;
};

} // namespace lumivane::service
