#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// A piece of a screen that may be a heading: a line, a cell of it, or a line joined with the one
/// or two below it, since long titles wrap.
struct ScreenHeading {
    std::string name;               ///< foldName of the words
    std::vector<std::string> words; ///< each folded as a name
    bool isNumbered = false;        ///< as "1. ..." or "#1 ..."
    bool isTitle = false;           ///< a few words, most of them capitalised, and no sentence
    bool isJoined = false;          ///< of several lines
    std::size_t line = 0;           ///< of the text, the first for a joined one
};

/// The headings that a screen may hold, in its order; pieces of more than 14 words are none. What
/// sites put beside a title (its number, their own name, how hard it is) is taken off.
std::vector<ScreenHeading> headingsOf(std::string_view screenText);

/// How a heading goes with an exercise's title.
enum class HeadingFit {
    none,
    same,   ///< the title, letters lost by recognition aside
    near,   ///< hardly anything else, with many letters lost; speaks neither for nor against it
    longer, ///< the title with more words: a title of another exercise
    sequel, ///< so, and the word behind it is a number
};

HeadingFit fitOf(const ScreenHeading& heading, const ScreenHeading& title);

} // namespace lumivane::service
