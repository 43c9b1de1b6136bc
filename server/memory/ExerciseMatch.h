#pragma once

#include "server/memory/ExerciseScreen.h"
#include "server/memory/ExerciseSigns.h"
#include "server/memory/Vocabulary.h"

#include <cstddef>
#include <optional>
#include <set>
#include <vector>

namespace lumivane::service {

/// What a screen says for and against one exercise.
struct MatchEvidence {
    bool hasTitle = false;         ///< its title stands there as a heading
    bool hasNumberedTitle = false; ///< so, behind a number, as over an exercise
    bool hasLongTitle = false;     ///< so, and it has four words or more
    bool hasOtherTitle = false;    ///< another exercise's title stands there instead
    bool hasEntry = false;         ///< the function or class of its solution is named
    bool hasOtherEntry = false;    ///< one of that name is declared, which takes something else
    std::size_t signs = 0;         ///< of its statement that are there
    std::size_t allSigns = 0;
    std::size_t foreignSigns = 0; ///< of similar exercises' statements

    bool operator==(const MatchEvidence&) const = default;
};

/// Whether that is enough. A title with the entry needs a third of the signs; a title alone half of
/// them, or two in three where it is short and has no number; the entry alone three in five; signs
/// alone nine in ten, unless the entry's name is another's. What belongs to another exercise rules
/// a screen out.
bool isEnough(const MatchEvidence& evidence);

/// For choosing between exercises that have enough; higher is surer.
double strengthOf(const MatchEvidence& evidence);

/// One exercise's signs, ready for comparing with screens.
class ExerciseMatch {
public:
    /// Adds the words of the signs to the vocabulary.
    ExerciseMatch(const ExerciseSigns& signs, Vocabulary& vocabulary);

    MatchEvidence evidenceOn(const ExerciseScreen& screen) const;

private:
    using Words = std::vector<Vocabulary::Id>;
    using Sign = std::vector<Words>; ///< any of them will do

    static std::vector<Sign> read(const std::vector<Wordings>& signs, Vocabulary& vocabulary);
    /// Looks at the headings; gives the lines that are titles and nothing else.
    std::set<std::size_t> readTitles(const ExerciseScreen& screen, MatchEvidence& evidence) const;

    std::vector<ScreenHeading> m_titles;
    std::string m_entry;
    std::vector<std::string> m_parameters;
    std::vector<Sign> m_signs;
    std::vector<Sign> m_foreign;
};

} // namespace lumivane::service
