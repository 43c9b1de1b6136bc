#pragma once

#include <algorithm>
#include <cstdint>

namespace lumivane::service {

/// How many bytes of request bodies may be held at one time by all connections together. A part
/// of them is kept for small bodies, so that large ones cannot keep everybody else out.
class BodyBudget {
public:
    enum class Size { small, large };

    /// Large bodies get at most `limit` less `keptForSmall`, small ones whatever is left.
    explicit BodyBudget(std::uint64_t limit, std::uint64_t keptForSmall = 0)
        : m_limit(limit)
        , m_largeLimit(limit - std::min(limit, keptForSmall)) {}

    /// One connection's share; gives it back at its end.
    class Share {
    public:
        explicit Share(BodyBudget& budget)
            : m_budget(budget) {}

        ~Share() { release(); }

        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        /// Raises the share to `bytes`, or answers false and leaves it as it was. The size is that
        /// of the first call since the share was empty.
        bool growTo(std::uint64_t bytes, Size size = Size::small) {
            if (bytes <= m_held) {
                return true;
            }
            m_size = m_held == 0 ? size : m_size;
            const std::uint64_t more = bytes - m_held;
            const bool isLarge = m_size == Size::large;
            if (more > m_budget.m_limit - m_budget.m_used ||
                (isLarge && more > m_budget.m_largeLimit - m_budget.m_largeUsed)) {
                return false;
            }
            m_budget.m_used += more;
            m_budget.m_largeUsed += isLarge ? more : 0;
            m_held = bytes;
            return true;
        }

        void release() {
            m_budget.m_used -= m_held;
            m_budget.m_largeUsed -= m_size == Size::large ? m_held : 0;
            m_held = 0;
        }

    private:
        BodyBudget& m_budget;
        std::uint64_t m_held = 0;
        Size m_size = Size::small;
    };

    std::uint64_t used() const { return m_used; }

private:
    std::uint64_t m_limit;
    std::uint64_t m_largeLimit;
    std::uint64_t m_used = 0;
    std::uint64_t m_largeUsed = 0;
};

} // namespace lumivane::service
