#include "server/analysis/Extraction.h"

#include "server/analysis/ScreenSentences.h"
#include "server/analysis/SentenceRanking.h"
#include "server/text/Utf8.h"

#include <algorithm>
#include <vector>

namespace lumivane::service {

namespace {

constexpr std::size_t mostLines = 5;
constexpr std::size_t mostDeadlines = 2;
constexpr std::size_t mostQuestions = 2;
constexpr std::size_t mostMain = 3;
constexpr std::size_t mostListed = 8; // deadlines or questions where a reader asks for them
constexpr std::size_t lineLimit = 240;

// A screen's sentences and everything that choosing among them needs.
class Screen {
public:
    explicit Screen(std::string_view transcript)
        : m_sentences(sentencesOf(transcript))
        , m_scores(rankSentences(m_sentences)) {}

    bool isEmpty() const { return m_sentences.empty(); }

    template <typename Wanted>
    std::vector<std::size_t> choose(std::size_t count, const std::vector<std::size_t>& taken,
                                    Wanted wanted) const {
        std::vector<bool> marks;
        marks.reserve(m_sentences.size());
        for (const ScreenSentence& sentence : m_sentences) {
            marks.push_back(wanted(sentence));
        }
        return chooseSentences(m_sentences, m_scores, marks, taken, count);
    }

    // Quotes only where there is no prose, and code only where nothing else tells what the screen
    // shows.
    std::vector<std::size_t> chooseMain(std::size_t count,
                                        const std::vector<std::size_t>& taken) const {
        std::vector<std::size_t> chosen;
        for (const auto kind : {SentenceKind::prose, SentenceKind::quoted, SentenceKind::code}) {
            const bool isWanted = chosen.empty() && (kind == SentenceKind::prose || taken.empty());
            if (isWanted) {
                chosen = choose(count, taken, [kind](const ScreenSentence& sentence) {
                    return sentence.kind == kind;
                });
            }
        }
        return chosen;
    }

    std::string line(std::size_t index) const {
        return shortened(m_sentences[index].text, lineLimit);
    }

private:
    std::vector<ScreenSentence> m_sentences;
    std::vector<double> m_scores;
};

bool isDeadline(const ScreenSentence& sentence) {
    return sentence.time == TimeMention::deadline && sentence.kind != SentenceKind::code;
}

bool isQuestion(const ScreenSentence& sentence) { return sentence.isQuestion; }

void appendLine(std::string& text, const std::string& line) {
    text.append(text.empty() ? "" : "\n").append(line);
}

template <typename Wanted>
void appendList(const Screen& screen, const char* heading, const char* nothing, Wanted wanted,
                std::string& text) {
    const auto chosen = screen.choose(mostListed, {}, wanted);
    if (chosen.empty()) {
        appendLine(text, nothing);
        return;
    }
    appendLine(text, heading);
    for (const std::size_t index : chosen) {
        appendLine(text, "- " + screen.line(index));
    }
}

} // namespace

std::optional<std::string> extractSummary(std::string_view transcript) {
    const Screen screen(transcript);
    if (screen.isEmpty()) {
        return std::nullopt;
    }
    auto lines = screen.choose(mostDeadlines, {}, isDeadline);
    const auto add = [&lines](const std::vector<std::size_t>& more) {
        lines.insert(lines.end(), more.begin(), more.end());
    };
    add(screen.choose(mostQuestions, lines, isQuestion));
    add(screen.chooseMain(std::min(mostMain, mostLines - lines.size()), lines));
    std::string text;
    for (const std::size_t index : lines) {
        appendLine(text, screen.line(index));
    }
    return text;
}

std::optional<std::string> extractWish(std::string_view transcript, const PromptWish& wish) {
    const Screen screen(transcript);
    if (screen.isEmpty()) {
        return std::nullopt;
    }
    std::string text;
    if (wish.wantsSummary) {
        for (const std::size_t index : screen.chooseMain(wish.lines.value_or(mostMain), {})) {
            appendLine(text, screen.line(index));
        }
    }
    if (wish.wantsDeadlines) {
        appendList(screen, "Deadlines:", "No deadlines found.", isDeadline, text);
    }
    if (wish.wantsQuestions) {
        appendList(screen, "Questions:", "No questions found.", isQuestion, text);
    }
    return text;
}

} // namespace lumivane::service
