#pragma once

#include "server/memory/ExerciseSigns.h"

#include <boost/json/array.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// An exercise's file is wrong. `what()` names the line where that is known.
class ExerciseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One way to solve an exercise.
struct Approach {
    std::string name;
    std::string idea; ///< one paragraph
    std::string code; ///< Python
    std::string time;
    std::string space;
};

/// How results are compared with what a test expects.
enum class ResultOrder {
    exact,
    any,      ///< of a list's elements
    anyInside ///< of a list's elements, and of theirs
};

/// One exercise as its file tells it. The files are Markdown:
///
///     # Title
///     - Function: name            or  - Class: Name; name(parameter, parameter) where exercises
///                                 share the name of their function
///     - Also called: title; title
///     - Takes: linked list, tree  what arguments are made of; a plain value where nothing is said
///     - Gives: linked list
///     - Results: any order        or  any order inside
///     - Signs: wording | wording; wording
///     - Not: wording; wording
///     ## Statement, then three of ## Approach: Name (idea, ```python, - Time:, - Space:),
///     ## Pitfalls (- items), ## Tests (```json, in each line [arguments, result]; for a class
///     [calls, results], each call [name, argument...])
struct Exercise {
    ExerciseSigns signs;
    bool isClass = false;
    std::vector<std::string> takes;
    std::string gives;
    ResultOrder order = ResultOrder::exact;
    std::string statement; ///< one paragraph
    std::vector<Approach> approaches;
    std::vector<std::string> pitfalls;
    boost::json::array tests;

    const std::string& title() const { return signs.titles.front(); }
};

inline constexpr std::size_t approachesPerExercise = 3;

/// Throws ExerciseError for whatever is missing, doubled or unknown.
Exercise readExercise(std::string_view text);

/// The answer in the Markdown that panel and notes show: title, status, task, approaches with code
/// and costs, pitfalls.
std::string answerOf(const Exercise& exercise);

} // namespace lumivane::service
