#include "server/analysis/ScreenSentences.h"

#include "server/analysis/ScreenLines.h"
#include "server/analysis/ScreenWords.h"
#include "server/text/Utf8.h"

#include <algorithm>
#include <array>
#include <map>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t mostSentences = 1500;
constexpr std::size_t fewestWords = 4;         // fewer are a label, a button, a menu
constexpr std::size_t fewestDeadlineWords = 2; // "Due Friday" says enough
constexpr std::size_t shortRepeatWords = 6;    // what is shorter and stands there twice is chrome

constexpr std::size_t longestShortForm = 24; // bytes looked at before a full stop

constexpr std::array abbreviations{
    "mr"sv,  "mrs"sv, "ms"sv,  "dr"sv,     "prof"sv, "st"sv,  "vs"sv,  "no"sv,  "nr"sv,
    "jan"sv, "feb"sv, "mar"sv, "apr"sv,    "jun"sv,  "jul"sv, "aug"sv, "sep"sv, "sept"sv,
    "oct"sv, "nov"sv, "dec"sv, "approx"sv, "ca"sv,   "bzw"sv, "fig"sv, "inc"sv, "ltd"sv,
};

constexpr std::array failureWords{
    "error"sv,   "errors"sv, "failed"sv,  "failure"sv,     "fatal"sv,     "exception"sv,
    "panic"sv,   "denied"sv, "refused"sv, "traceback"sv,   "segfault"sv,  "cannot"sv,
    "timeout"sv, "crash"sv,  "crashes"sv, "unreachable"sv, "undefined"sv,
};

template <std::size_t count>
bool isIn(const std::array<std::string_view, count>& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isFullStop(char32_t codePoint) {
    return codePoint == U'.' || codePoint == U'!' || codePoint == U'?' || codePoint == U'…';
}

bool isWideStop(char32_t codePoint) {
    return codePoint == U'。' || codePoint == U'！' || codePoint == U'？';
}

bool isCloser(char32_t codePoint) {
    return codePoint == U'"' || codePoint == U'\'' || codePoint == U')' || codePoint == U'”' ||
           codePoint == U'’' || codePoint == U'»' || codePoint == U'」';
}

// A full stop after an initial, a short form or a number does not end a sentence.
bool isAbbreviated(std::string_view sentence) {
    sentence.remove_suffix(1);
    sentence.remove_prefix(sentence.size() - std::min(sentence.size(), longestShortForm));
    const auto blank = sentence.find_last_of(" (\"");
    const std::string word =
        toLowerText(blank == std::string_view::npos ? sentence : sentence.substr(blank + 1));
    const bool isNumber =
        !word.empty() && word.size() <= 2 &&
        std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
    const bool isInitial = countCodePoints(word) == 1;
    return isInitial || isNumber || isIn(abbreviations, word) ||
           word.find('.') != std::string::npos;
}

// Cuts a passage into sentences.
std::vector<std::string> splitSentences(std::string_view passage) {
    std::vector<std::string> sentences;
    std::size_t begin = 0;
    std::string_view rest = passage;
    const auto close = [&](std::size_t end) {
        const std::string_view sentence = trimmed(passage.substr(begin, end - begin));
        if (!sentence.empty()) {
            sentences.emplace_back(sentence);
        }
        begin = end;
    };
    bool isOver = false;
    bool isWide = false;
    while (!rest.empty()) {
        const std::size_t at = passage.size() - rest.size();
        const char32_t codePoint = takeCodePoint(rest);
        const std::size_t behind = passage.size() - rest.size();
        if (isFullStop(codePoint) || isWideStop(codePoint)) {
            const std::string_view sofar = passage.substr(begin, behind - begin);
            isOver = codePoint != U'.' || !isAbbreviated(sofar);
            isWide = isWideStop(codePoint);
        } else if (isOver && isSpace(codePoint)) {
            close(at);
            isOver = false;
        } else if (isOver && !isCloser(codePoint)) {
            if (isWide) {
                close(at);
            }
            isOver = false;
        }
    }
    close(passage.size());
    return sentences;
}

bool endsInQuestion(std::string_view text) {
    while (!text.empty()) {
        for (const auto mark : {"?"sv, "？"sv, "؟"sv}) {
            if (text.ends_with(mark)) {
                return true;
            }
        }
        bool isStripped = false;
        for (const auto closer : {"\""sv, "'"sv, ")"sv, "”"sv, "’"sv, "»"sv, "」"sv}) {
            if (text.ends_with(closer)) {
                text.remove_suffix(closer.size());
                isStripped = true;
                break;
            }
        }
        if (!isStripped) {
            return false;
        }
    }
    return false;
}

// "ImportError", "NullPointerException": what programs call their failures.
bool namesFailure(std::string_view word) {
    for (const auto ending : {"error"sv, "exception"sv}) {
        if (word.size() > ending.size() && word.ends_with(ending)) {
            return true;
        }
    }
    return isIn(failureWords, word);
}

// The first words of a log's line are when it was written, which is no date that matters.
bool beginsWithStamp(const std::vector<std::string>& words) {
    if (words.empty()) {
        return false;
    }
    const std::string& first = words.front();
    // "Mar 03 14:02:11"
    if (words.size() > 2 && words[2].size() == 8 && words[2][2] == ':' &&
        isMoment(words[1], first)) {
        return true;
    }
    const auto digits =
        std::count_if(first.begin(), first.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits >= 4 && (isMoment(first, {}) || first.find('t') != std::string::npos ||
                           first.find(':') != std::string::npos);
}

ScreenSentence judge(std::string text, SentenceKind kind) {
    ScreenSentence sentence;
    const auto words = wordsOf(text);
    sentence.words = readingWords(text);
    sentence.kind = kind;
    if (!beginsWithStamp(words)) {
        sentence.time = timeMention(words);
    }
    sentence.isFailure = std::any_of(words.begin(), words.end(),
                                     [](const std::string& word) { return namesFailure(word); });
    sentence.isQuestion =
        sentence.words >= fewestWords && kind != SentenceKind::code && endsInQuestion(text);
    if (sentence.isFailure && kind == SentenceKind::code && sentence.words >= fewestWords) {
        sentence.kind = SentenceKind::prose;
    }
    const bool isBareMoment = sentence.time == TimeMention::moment &&
                              words.size() < countMomentWords(words) + fewestWords;
    const std::size_t fewest =
        sentence.time == TimeMention::deadline ? fewestDeadlineWords : fewestWords;
    if (sentence.words >= fewest && !isBareMoment) {
        sentence.text = std::move(text);
    }
    return sentence;
}

// Keeps the first of equal sentences, and none of short ones that come again: those are buttons.
void dropRepeats(std::vector<ScreenSentence>& sentences) {
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> keys;
    keys.reserve(sentences.size());
    for (const ScreenSentence& sentence : sentences) {
        keys.push_back(foldedKey(sentence.text));
        ++counts[keys.back()];
    }
    std::map<std::string, bool> seen;
    std::vector<ScreenSentence> kept;
    for (std::size_t index = 0; index < sentences.size(); ++index) {
        const bool isChrome = counts[keys[index]] > 1 &&
                              sentences[index].words < shortRepeatWords &&
                              sentences[index].time != TimeMention::deadline;
        if (!isChrome && !seen[keys[index]]) {
            seen[keys[index]] = true;
            kept.push_back(std::move(sentences[index]));
        }
    }
    sentences = std::move(kept);
}

} // namespace

std::vector<ScreenSentence> sentencesOf(std::string_view transcript) {
    std::vector<ScreenSentence> sentences;
    for (const ScreenPassage& passage : passagesOf(transcript)) {
        const bool isCode = passage.kind == SentenceKind::code;
        std::vector<std::string> texts;
        if (isCode) {
            texts.push_back(passage.text);
        } else {
            texts = splitSentences(passage.text);
        }
        for (std::string& text : texts) {
            ScreenSentence sentence = judge(std::move(text), passage.kind);
            if (!sentence.text.empty() && sentences.size() < mostSentences) {
                sentences.push_back(std::move(sentence));
            }
        }
    }
    dropRepeats(sentences);
    return sentences;
}

} // namespace lumivane::service
