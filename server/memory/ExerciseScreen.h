#pragma once

#include "server/memory/ScreenHeadings.h"
#include "server/memory/Vocabulary.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// Whether a function or class that a screen names is the one that is looked for.
enum class EntryFit { none, same, other };

/// A screen as exercises are looked for on it. Linear in the text.
class ExerciseScreen {
public:
    ExerciseScreen(std::string_view text, const Vocabulary& vocabulary);

    const std::vector<ScreenHeading>& headings() const { return m_headings; }

    /// The known words on the screen, each once.
    std::vector<Vocabulary::Id> knownWords() const;

    /// Whether all words stand close together somewhere: in any order, with a few others between.
    bool holdsNear(const std::vector<Vocabulary::Id>& words) const;

    /// Whether the words follow one another somewhere, with at most one other between two of them.
    /// What begins on a line in `hidden` does not count.
    bool holdsPhrase(const std::vector<Vocabulary::Id>& words,
                     const std::set<std::size_t>& hidden) const;

    /// Whether a name of a program's text is `entry` (a foldName), a lost letter of a long one
    /// aside. Short names must stand before a parenthesis. Where the text declares what the entry
    /// takes, all `parameters` (foldNames) have to be among it, or it is another's.
    EntryFit fitOfEntry(std::string_view entry, const std::vector<std::string>& parameters) const;

private:
    struct Place {
        std::size_t position; ///< in words
        std::size_t line;
    };

    /// The names within a parenthesis that declares parameters.
    using Declaration = std::set<std::string>;

    /// The first place of the word from `position` on.
    const Place* placeFrom(Vocabulary::Id word, std::size_t position) const;

    void readWords(std::string_view text, const Vocabulary& vocabulary);
    void readNames(std::string_view text);

    std::vector<ScreenHeading> m_headings;
    std::vector<std::vector<Place>> m_places;                ///< by word, in order
    std::map<std::string, std::vector<Declaration>> m_names; ///< with their declarations
};

} // namespace lumivane::service
