#pragma once

#include "server/memory/ScreenHeadings.h"
#include "server/memory/Vocabulary.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

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
    /// aside. Short names must stand before a parenthesis or behind "class".
    bool names(std::string_view entry) const;

private:
    struct Place {
        std::size_t position; ///< in words
        std::size_t line;
    };

    /// The first place of the word from `position` on.
    const Place* placeFrom(Vocabulary::Id word, std::size_t position) const;

    void readWords(std::string_view text, const Vocabulary& vocabulary);
    void readNames(std::string_view text);

    std::vector<ScreenHeading> m_headings;
    std::vector<std::vector<Place>> m_places; ///< by word, in order
    std::set<std::string> m_names;
};

} // namespace lumivane::service
