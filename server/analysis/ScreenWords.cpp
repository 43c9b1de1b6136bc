#include "server/analysis/ScreenWords.h"

#include "server/text/Utf8.h"

namespace lumivane::service {

namespace {

constexpr std::size_t charactersPerWord = 2;

std::string bareLower(std::string_view part) {
    std::string lower;
    std::size_t keep = 0;
    while (!part.empty()) {
        const char32_t codePoint = takeCodePoint(part);
        const bool isWord = isWordCharacter(codePoint);
        if (isWord || !lower.empty()) {
            appendCodePoint(lower, toLower(codePoint));
        }
        if (isWord) {
            keep = lower.size();
        }
    }
    lower.resize(keep);
    return lower;
}

} // namespace

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    std::size_t begin = 0;
    std::string_view rest = text;
    const auto close = [&](std::size_t end) {
        std::string word = bareLower(text.substr(begin, end - begin));
        if (!word.empty()) {
            words.push_back(std::move(word));
        }
    };
    while (!rest.empty()) {
        const std::size_t at = text.size() - rest.size();
        if (isSpace(takeCodePoint(rest))) {
            close(at);
            begin = text.size() - rest.size();
        }
    }
    close(text.size());
    return words;
}

std::vector<std::string> termsOf(std::string_view text) {
    std::vector<std::string> terms;
    std::string run;
    char32_t previousIdeograph = 0;
    const auto close = [&] {
        if (!run.empty()) {
            terms.push_back(std::move(run));
            run.clear();
        }
    };
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        if (isIdeographic(codePoint)) {
            close();
            if (previousIdeograph != 0) {
                std::string pair;
                appendCodePoint(pair, previousIdeograph);
                appendCodePoint(pair, codePoint);
                terms.push_back(std::move(pair));
            }
            previousIdeograph = codePoint;
            continue;
        }
        previousIdeograph = 0;
        if (isWordCharacter(codePoint)) {
            appendCodePoint(run, toLower(codePoint));
        } else {
            close();
        }
    }
    close();
    return terms;
}

std::size_t readingWords(std::string_view text) {
    std::size_t ideographs = 0;
    std::size_t words = 0;
    bool inWord = false;
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        if (isIdeographic(codePoint)) {
            ++ideographs;
            inWord = false;
        } else if (isSpace(codePoint)) {
            inWord = false;
        } else if (isWordCharacter(codePoint) && !inWord) {
            ++words;
            inWord = true;
        }
    }
    return words + ideographs / charactersPerWord;
}

std::string foldedKey(std::string_view text) {
    std::string key;
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        if (isWordCharacter(codePoint)) {
            appendCodePoint(key, toLower(codePoint));
        }
    }
    return key;
}

} // namespace lumivane::service
