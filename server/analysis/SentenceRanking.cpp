#include "server/analysis/SentenceRanking.h"

#include "server/analysis/DeadlineWords.h"
#include "server/analysis/ScreenWords.h"
#include "server/text/Utf8.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <string>
#include <unordered_map>

namespace lumivane::service {

namespace {

using Terms = std::set<std::string>;

constexpr std::size_t shortTermBytes = 3; // articles and their like, in most languages
constexpr double everywhereShare = 0.4;   // a term of so many sentences tells them not apart
constexpr std::size_t everywhereFrom = 8; // sentences that this needs to be told
constexpr double nearlySame = 0.6;

Terms weighedTerms(std::string_view text) {
    Terms terms;
    for (std::string& term : termsOf(text)) {
        std::string_view rest = term;
        const bool isWide = isIdeographic(takeCodePoint(rest));
        if (isWide || term.size() > shortTermBytes) {
            terms.insert(std::move(term));
        }
    }
    return terms;
}

// The numbers of one word, with the half of the day that a time of day ends in: "14th" and "14"
// are the same, "5am" and "5pm" are not.
std::string numbersOf(std::string_view word) {
    std::string numbers;
    bool isInNumber = false;
    for (const char character : word) {
        const bool isDigit = character >= '0' && character <= '9';
        if (isDigit && !isInNumber) {
            numbers += numbers.empty() ? "" : "-";
        }
        if (isDigit) {
            numbers += character;
        }
        isInNumber = isDigit;
    }
    const bool isTime = word.ends_with("am") || word.ends_with("pm");
    return numbers.empty() || !isTime ? numbers : numbers.append(word.substr(word.size() - 2));
}

// What a reader must not lose with a sentence, however much it is like another: which day, which
// number.
Terms detailsOf(std::string_view text) {
    const std::vector<std::string> words = wordsOf(text);
    Terms details;
    for (std::string& name : momentNames(words)) {
        details.insert(std::move(name));
    }
    for (const std::string& word : words) {
        if (std::string numbers = numbersOf(word); !numbers.empty()) {
            details.insert(std::move(numbers));
        }
    }
    return details;
}

double lengthFactor(std::size_t words) {
    if (words < 6) {
        return 0.7;
    }
    return words <= 35 ? 1.0 : 0.7;
}

double kindFactor(SentenceKind kind) {
    switch (kind) {
    case SentenceKind::quoted:
        return 0.5;
    case SentenceKind::code:
        return 0.15;
    case SentenceKind::prose:
        break;
    }
    return 1.0;
}

// Shared terms against all terms of the smaller side, so that a headline and the sentence that
// repeats it count as the same.
bool areNearlySame(const Terms& left, const Terms& right) {
    const std::size_t smaller = std::min(left.size(), right.size());
    std::size_t shared = 0;
    for (const std::string& term : left) {
        shared += right.count(term);
    }
    return smaller > 0 && static_cast<double>(shared) > nearlySame * static_cast<double>(smaller);
}

// What of a sentence tells whether another one says the same.
struct Saying {
    explicit Saying(const ScreenSentence& sentence)
        : isDeadline(sentence.time == TimeMention::deadline)
        , terms(weighedTerms(sentence.text))
        , details(detailsOf(sentence.text)) {}

    bool isDeadline;
    Terms terms;
    Terms details;
};

bool holdsAll(const Terms& set, const Terms& wanted) {
    return std::includes(set.begin(), set.end(), wanted.begin(), wanted.end());
}

// A headline and the sentence with more details are the same, two rows with different numbers are
// not, and of a deadline no detail may get lost.
bool saysNothingNew(const Saying& candidate, const Saying& known) {
    const bool isTold = holdsAll(known.details, candidate.details) ||
                        (!candidate.isDeadline && holdsAll(candidate.details, known.details));
    return isTold && areNearlySame(candidate.terms, known.terms);
}

class TermWeights {
public:
    explicit TermWeights(const std::vector<Terms>& sentences)
        : m_sentences(sentences.size()) {
        for (const Terms& terms : sentences) {
            for (const std::string& term : terms) {
                ++m_counts[term];
            }
        }
    }

    double of(const Terms& terms) const {
        double sum = 0;
        for (const std::string& term : terms) {
            sum += weight(m_counts.at(term));
        }
        return terms.empty() ? 0 : sum / std::sqrt(static_cast<double>(terms.size()));
    }

private:
    double weight(std::size_t count) const {
        const double share = static_cast<double>(count) / static_cast<double>(m_sentences);
        if (m_sentences >= everywhereFrom && share > everywhereShare) {
            return 0.1;
        }
        return count < 2 ? 0.3 : std::log2(1.0 + static_cast<double>(count));
    }

    std::size_t m_sentences;
    std::unordered_map<std::string, std::size_t> m_counts;
};

double boost(const ScreenSentence& sentence) {
    double sum = sentence.isFailure ? 0.6 : 0.0;
    sum += sentence.time == TimeMention::moment ? 0.1 : 0.0;
    return sum;
}

} // namespace

std::vector<double> rankSentences(const std::vector<ScreenSentence>& sentences) {
    std::vector<Terms> terms;
    terms.reserve(sentences.size());
    for (const ScreenSentence& sentence : sentences) {
        terms.push_back(weighedTerms(sentence.text));
    }
    const TermWeights weights(terms);
    std::vector<double> scores;
    double highest = 0;
    for (const Terms& set : terms) {
        scores.push_back(weights.of(set));
        highest = std::max(highest, scores.back());
    }
    for (std::size_t index = 0; index < sentences.size(); ++index) {
        const ScreenSentence& sentence = sentences[index];
        const double place = static_cast<double>(index) / static_cast<double>(sentences.size());
        const double position = 0.5 * (1.0 - place) + (index == 0 ? 0.3 : 0.0);
        const double content = highest > 0 ? scores[index] / highest : 0;
        scores[index] = (content * lengthFactor(sentence.words) + position + boost(sentence)) *
                        kindFactor(sentence.kind);
    }
    return scores;
}

std::vector<std::size_t> chooseSentences(const std::vector<ScreenSentence>& sentences,
                                         const std::vector<double>& scores,
                                         const std::vector<bool>& wanted,
                                         const std::vector<std::size_t>& taken, std::size_t count) {
    std::vector<std::size_t> order(sentences.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(),
                     [&scores](std::size_t a, std::size_t b) { return scores[a] > scores[b]; });
    std::vector<Saying> known;
    for (const std::size_t index : taken) {
        known.emplace_back(sentences[index]);
    }
    std::vector<std::size_t> chosen;
    for (const std::size_t index : order) {
        if (chosen.size() == count) {
            break;
        }
        if (!wanted[index]) {
            continue;
        }
        Saying saying(sentences[index]);
        const auto isTold = [&saying](const Saying& other) {
            return saysNothingNew(saying, other);
        };
        if (std::none_of(known.begin(), known.end(), isTold)) {
            chosen.push_back(index);
            known.push_back(std::move(saying));
        }
    }
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

} // namespace lumivane::service
