#include "server/NoisyScreen.h"

#include <cctype>

namespace lumivane::service::test {

namespace {

bool isLetter(char character) { return std::isalpha(static_cast<unsigned char>(character)) != 0; }

char lookalike(char character) {
    switch (character) {
    case 'o':
        return '0';
    case 'O':
        return '0';
    case 'l':
        return '1';
    case 'i':
        return 'l';
    case 'I':
        return 'l';
    case 's':
        return '5';
    default:
        return character;
    }
}

} // namespace

// One linear congruential step; the low bits of such a generator are worth nothing.
bool NoisyScreen::strikes(std::uint32_t every) {
    m_state = m_state * 1664525U + 1013904223U;
    return (m_state >> 8U) % every == 0;
}

std::string NoisyScreen::withDroppedLetters(std::string_view text, std::uint32_t every) {
    std::string noisy;
    for (const char character : text) {
        if (!isLetter(character) || !strikes(every)) {
            noisy += character;
        }
    }
    return noisy;
}

std::string NoisyScreen::withLookalikes(std::string_view text, std::uint32_t every) {
    std::string noisy;
    for (const char character : text) {
        const bool isTaken = lookalike(character) != character && strikes(every);
        noisy += isTaken ? lookalike(character) : character;
    }
    return noisy;
}

std::string NoisyScreen::withSplitLines(std::string_view text, std::uint32_t every) {
    std::string noisy;
    for (const char character : text) {
        noisy += character == ' ' && strikes(every) ? '\n' : character;
    }
    return noisy;
}

std::string NoisyScreen::withJoinedWords(std::string_view text, std::uint32_t every) {
    std::string noisy;
    for (const char character : text) {
        if (character != ' ' || !strikes(every)) {
            noisy += character;
        }
    }
    return noisy;
}

std::string withoutTitle(std::string_view text, std::string_view title) {
    std::string kept;
    bool isGone = false;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        if (!isGone && line.find(title) != std::string_view::npos) {
            isGone = true;
        } else {
            kept.append(line).append("\n");
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return kept;
}

} // namespace lumivane::service::test
