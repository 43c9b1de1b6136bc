#pragma once

#include <cstdint>

namespace lumivane::service {

/// How many bytes of request bodies may be held at one time by all connections together.
class BodyBudget {
public:
    explicit BodyBudget(std::uint64_t limit)
        : m_limit(limit) {}

    /// One connection's share; gives it back at its end.
    class Share {
    public:
        explicit Share(BodyBudget& budget)
            : m_budget(budget) {}

        ~Share() { release(); }

        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        /// Raises the share to `bytes`, or answers false and leaves it as it was.
        bool growTo(std::uint64_t bytes) {
            const std::uint64_t others = m_budget.m_used - m_held;
            if (bytes > m_held && (bytes > m_budget.m_limit || others > m_budget.m_limit - bytes)) {
                return false;
            }
            if (bytes > m_held) {
                m_budget.m_used = others + bytes;
                m_held = bytes;
            }
            return true;
        }

        void release() {
            m_budget.m_used -= m_held;
            m_held = 0;
        }

    private:
        BodyBudget& m_budget;
        std::uint64_t m_held = 0;
    };

    std::uint64_t used() const { return m_used; }

private:
    std::uint64_t m_limit;
    std::uint64_t m_used = 0;
};

} // namespace lumivane::service
