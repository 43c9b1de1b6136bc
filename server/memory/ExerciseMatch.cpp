#include "server/memory/ExerciseMatch.h"

#include "server/memory/FoldedWords.h"

#include <algorithm>

namespace lumivane::service {

namespace {

constexpr std::size_t fewestOfLongTitle = 4; // words that no prose has together by chance

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
        best = fit != HeadingFit::none ? fit : best;
    }
    // A line with its neighbours has more words than its title had, but a number right behind the
    // title has only wrapped.
    return heading.isJoined && best == HeadingFit::longer ? HeadingFit::none : best;
}

// The lines on which a title stands, and those on which one stands that only begins like it.
struct TitleLines {
    TitleLines(const std::vector<ScreenHeading>& headings,
               const std::vector<ScreenHeading>& titles) {
        for (const ScreenHeading& heading : headings) {
            fits.push_back(bestFit(heading, titles));
            if (fits.back() == HeadingFit::same && !heading.isJoined) {
                own.insert(heading.line);
            } else if (fits.back() == HeadingFit::sequel) {
                sequels.insert(heading.line);
            }
        }
    }

    bool isOwn(std::size_t line) const { return own.contains(line) && !sequels.contains(line); }

    std::vector<HeadingFit> fits; ///< beside the headings
    std::set<std::size_t> own;
    std::set<std::size_t> sequels;
};

// How many of the signs are there in one of their wordings.
template <typename Sign, typename IsThere>
std::size_t countSigns(const std::vector<Sign>& signs, IsThere isThere) {
    return static_cast<std::size_t>(
        std::count_if(signs.begin(), signs.end(), [&](const Sign& wordings) {
            return std::any_of(wordings.begin(), wordings.end(), isThere);
        }));
}

} // namespace

bool isEnough(const MatchEvidence& evidence) {
    if (evidence.hasOtherTitle || evidence.foreignSigns > 0) {
        return false;
    }
    if (evidence.hasTitle) {
        const bool isSure = evidence.hasNumberedTitle || evidence.hasLongTitle;
        return (evidence.hasEntry && isShare(evidence, 1, 3)) ||
               (isSure ? isShare(evidence, 1, 2) : isShare(evidence, 2, 3));
    }
    return (evidence.hasEntry && isShare(evidence, 3, 5)) ||
           (!evidence.hasOtherEntry && isShare(evidence, 9, 10));
}

double strengthOf(const MatchEvidence& evidence) {
    const double share = evidence.allSigns == 0 ? 0.0
                                                : static_cast<double>(evidence.signs) /
                                                      static_cast<double>(evidence.allSigns);
    return share + (evidence.hasTitle ? 0.5 : 0.0) + (evidence.hasNumberedTitle ? 0.5 : 0.0) +
           (evidence.hasEntry ? 0.5 : 0.0);
}

ExerciseMatch::ExerciseMatch(const ExerciseSigns& signs, Vocabulary& vocabulary)
    : m_entry(foldName(signs.entry))
    , m_signs(read(signs.signs, vocabulary))
    , m_foreign(read(signs.foreign, vocabulary)) {
    for (const std::string& parameter : signs.parameters) {
        m_parameters.push_back(foldName(parameter));
    }
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

std::set<std::size_t> ExerciseMatch::readTitles(const ExerciseScreen& screen,
                                                MatchEvidence& evidence) const {
    const auto& headings = screen.headings();
    const TitleLines lines(headings, m_titles);
    std::set<std::size_t> titles;
    bool isOtherFirst = false;
    bool isLongerNumberedFirst = false;
    bool hasNumbered = false;
    bool hasOtherNumbered = false;
    for (std::size_t index = 0; index < headings.size(); ++index) {
        const ScreenHeading& heading = headings[index];
        const bool isSame =
            lines.fits[index] == HeadingFit::same && !lines.sequels.contains(heading.line);
        const bool isOther = lines.fits[index] == HeadingFit::sequel ||
                             (lines.fits[index] == HeadingFit::longer && heading.isTitle &&
                              !lines.isOwn(heading.line));
        if (isSame) {
            evidence.hasTitle = true;
            evidence.hasNumberedTitle = evidence.hasNumberedTitle || heading.isNumbered;
            evidence.hasLongTitle =
                evidence.hasLongTitle || heading.words.size() >= fewestOfLongTitle;
        } else if (isOther) {
            isOtherFirst = isOtherFirst || !evidence.hasTitle;
            isLongerNumberedFirst = isLongerNumberedFirst || (heading.isNumbered && !hasNumbered);
        }
        // Titles of similar exercises stand beside many an exercise; only prose speaks against it.
        if (heading.isTitle && !heading.isJoined) {
            titles.insert(heading.line);
        }
        if (heading.isNumbered && heading.isTitle && (isSame || !heading.isJoined)) {
            const bool isOwn =
                isSame || lines.isOwn(heading.line) || lines.fits[index] == HeadingFit::near;
            hasOtherNumbered = hasOtherNumbered || !isOwn;
            hasNumbered = true;
        }
    }
    evidence.hasOtherTitle =
        isLongerNumberedFirst || (!evidence.hasNumberedTitle && (isOtherFirst || hasOtherNumbered));
    return titles;
}

MatchEvidence ExerciseMatch::evidenceOn(const ExerciseScreen& screen) const {
    MatchEvidence evidence;
    const auto titles = readTitles(screen, evidence);
    const EntryFit entry = screen.fitOfEntry(m_entry, m_parameters);
    evidence.hasEntry = entry == EntryFit::same;
    evidence.hasOtherEntry = entry == EntryFit::other;
    evidence.signs =
        countSigns(m_signs, [&](const Words& words) { return screen.holdsNear(words); });
    evidence.allSigns = m_signs.size();
    evidence.foreignSigns = countSigns(
        m_foreign, [&](const Words& words) { return screen.holdsPhrase(words, titles); });
    return evidence;
}

} // namespace lumivane::service
