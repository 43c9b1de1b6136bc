#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lumivane::service::test {

/// What recognition does to a screen's text, the same for the same seed.
class NoisyScreen {
public:
    explicit NoisyScreen(std::uint32_t seed)
        : m_state(seed * 2 + 1) {}

    /// About one letter in `every` is missing.
    std::string withDroppedLetters(std::string_view text, std::uint32_t every);

    /// About one letter or digit in `every` is taken for one that looks like it.
    std::string withLookalikes(std::string_view text, std::uint32_t every);

    /// About one blank in `every` is a line end instead.
    std::string withSplitLines(std::string_view text, std::uint32_t every);

    /// About one blank in `every` is missing.
    std::string withJoinedWords(std::string_view text, std::uint32_t every);

private:
    bool strikes(std::uint32_t every);

    std::uint32_t m_state;
};

/// The text without its first line that begins with a digit or holds `title`: the page was
/// scrolled.
std::string withoutTitle(std::string_view text, std::string_view title);

} // namespace lumivane::service::test
