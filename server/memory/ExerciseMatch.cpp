#include "server/memory/ExerciseMatch.h"

#include "server/memory/FoldedWords.h"

#include <algorithm>

namespace lumivane::service {

namespace {

// Integer arithmetic, so that a share lies on the same side of a bar everywhere.
bool isShare(const MatchEvidence& evidence, std::size_t part, std::size_t whole) {
    return evidence.signs * whole >= evidence.allSigns * part;
}

HeadingFit bestFit(const ScreenHeading& heading, const std::vector<ScreenHeading>& titles) {
    HeadingFit best = HeadingFit::none;
    for (const ScreenHeading& title : titles) {
        const HeadingFit fit = fitOf(heading, title);
        if (fit == HeadingFit::same) {
            return fit;
        }
        best = fit == HeadingFit::longer ? fit : best;
    }
    // A line with its neighbours has more words than its title had.
    return heading.isJoined ? HeadingFit::none : best;
}

} // namespace

bool isEnough(const MatchEvidence& evidence) {
    if (evidence.hasOtherTitle) {
        return false;
    }
    if (evidence.hasTitle) {
        const std::size_t tolerated = 1;
        return evidence.foreignSigns <= tolerated &&
               ((evidence.hasEntry && isShare(evidence, 1, 3)) || isShare(evidence, 1, 2));
    }
    if (evidence.foreignSigns > 0) {
        return false;
    }
    return (evidence.hasEntry && isShare(evidence, 3, 5)) || isShare(evidence, 4, 5);
}

double strengthOf(const MatchEvidence& evidence) {
    const double share = evidence.allSigns == 0 ? 0.0
                                                : static_cast<double>(evidence.signs) /
                                                      static_cast<double>(evidence.allSigns);
    return share + (evidence.hasTitle ? 0.5 : 0.0) + (evidence.hasNumberedTitle ? 0.5 : 0.0) +
           (evidence.hasEntry ? 0.5 : 0.0) - 0.25 * static_cast<double>(evidence.foreignSigns);
}

ExerciseMatch::ExerciseMatch(const ExerciseSigns& signs, Vocabulary& vocabulary)
    : m_entry(foldName(signs.entry))
    , m_signs(read(signs.signs, vocabulary))
    , m_foreign(read(signs.foreign, vocabulary)) {
    for (const std::string& title : signs.titles) {
        const auto pieces = headingsOf(title);
        if (!pieces.empty()) {
            m_titles.push_back(pieces.front());
        }
    }
}

std::vector<ExerciseMatch::Sign> ExerciseMatch::read(const std::vector<Wordings>& signs,
                                                     Vocabulary& vocabulary) {
    std::vector<Sign> read;
    for (const Wordings& wordings : signs) {
        Sign& sign = read.emplace_back();
        for (const std::string& wording : wordings) {
            Words& words = sign.emplace_back();
            for (const std::string& word : foldedWordsOf(wording)) {
                words.push_back(vocabulary.add(word));
            }
        }
    }
    return read;
}

std::size_t ExerciseMatch::count(const std::vector<Sign>& signs, const ExerciseScreen& screen,
                                 const std::set<std::size_t>& hidden) {
    const auto isThere = [&](const Sign& sign) {
        return std::any_of(sign.begin(), sign.end(),
                           [&](const Words& words) { return screen.holds(words, hidden); });
    };
    return static_cast<std::size_t>(std::count_if(signs.begin(), signs.end(), isThere));
}

std::set<std::size_t> ExerciseMatch::readTitles(const ExerciseScreen& screen,
                                                MatchEvidence& evidence) const {
    std::set<std::size_t> others;
    bool isOtherFirst = false;
    bool hasOtherNumbered = false;
    bool isLongerNumberedFirst = false;
    bool hasNumbered = false;
    for (const ScreenHeading& heading : screen.headings()) {
        const HeadingFit fit = bestFit(heading, m_titles);
        if (fit == HeadingFit::same) {
            evidence.hasTitle = true;
            evidence.hasNumberedTitle = evidence.hasNumberedTitle || heading.isNumbered;
        } else if (fit == HeadingFit::longer && heading.isTitle) {
            others.insert(heading.line);
            isOtherFirst = isOtherFirst || !evidence.hasTitle;
            isLongerNumberedFirst = isLongerNumberedFirst || (heading.isNumbered && !hasNumbered);
        }
        if (heading.isNumbered && heading.isTitle && !heading.isJoined) {
            hasOtherNumbered = hasOtherNumbered || fit != HeadingFit::same;
            hasNumbered = true;
        }
    }
    evidence.hasOtherTitle =
        isLongerNumberedFirst || (!evidence.hasNumberedTitle && (isOtherFirst || hasOtherNumbered));
    return others;
}

MatchEvidence ExerciseMatch::evidenceOn(const ExerciseScreen& screen) const {
    MatchEvidence evidence;
    const auto others = readTitles(screen, evidence);
    evidence.hasEntry = screen.names(m_entry);
    evidence.signs = count(m_signs, screen, {});
    evidence.allSigns = m_signs.size();
    evidence.foreignSigns = count(m_foreign, screen, others);
    return evidence;
}

} // namespace lumivane::service
