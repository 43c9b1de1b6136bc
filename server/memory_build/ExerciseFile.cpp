#include "server/memory_build/ExerciseFile.h"

#include "server/text/StrictJson.h"
#include "server/text/Utf8.h"

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <functional>
#include <map>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t fewestTests = 4;
constexpr std::size_t fewestSigns = 4;

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (true) {
        const auto end = std::min(text.find(separator), text.size());
        parts.emplace_back(trimmed(text.substr(0, end)));
        if (end == text.size()) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<Wordings> wordingsOf(std::string_view text) {
    std::vector<Wordings> signs;
    for (const std::string& sign : split(text, ';')) {
        signs.push_back(split(sign, '|'));
    }
    return signs;
}

// Takes the file line by line; what a line means depends on the section that it stands in.
class Reader {
public:
    Exercise read(std::string_view text) {
        for (m_line = 1; !text.empty(); ++m_line) {
            const auto end = std::min(text.find('\n'), text.size());
            take(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        require(!m_isInFence, "a code block is not closed");
        checkWhole();
        return std::move(m_exercise);
    }

private:
    enum class Section { head, statement, approach, pitfalls, tests };

    void require(bool holds, const std::string& message) const {
        if (!holds) {
            throw ExerciseError("line " + std::to_string(m_line) + ": " + message);
        }
    }

    void take(std::string_view line) {
        if (line.starts_with("```")) {
            takeFence(line);
        } else if (m_isInFence) {
            takeCode(line);
        } else if (line.starts_with("# ")) {
            require(m_exercise.signs.titles.empty(), "a second title");
            m_exercise.signs.titles.emplace_back(trimmed(line.substr(2)));
        } else if (line.starts_with("## ")) {
            beginSection(std::string(trimmed(line.substr(3))));
        } else if (hasContent(line)) {
            takeText(trimmed(line));
        }
    }

    void takeFence(std::string_view line) {
        const bool isExpected = m_isInFence
                                    ? line == "```"
                                    : (m_section == Section::approach && line == "```python") ||
                                          (m_section == Section::tests && line == "```json");
        require(isExpected, "a code block that does not belong here");
        m_isInFence = !m_isInFence;
    }

    void takeCode(std::string_view line) {
        if (m_section == Section::approach) {
            m_exercise.approaches.back().code.append(line).append("\n");
            return;
        }
        try {
            const json::value test = parseStrictly(line);
            require(test.is_array() && test.get_array().size() == 2 &&
                        test.get_array().front().is_array(),
                    "a test is [arguments, result]");
            m_exercise.tests.push_back(test);
        } catch (const JsonError& error) {
            require(false, std::string("a test cannot be read: ") + error.what());
        }
    }

    void beginSection(const std::string& name) {
        static constexpr std::string_view approach = "Approach: ";
        static const std::map<std::string, Section> sections{
            {"Statement", Section::statement},
            {"Pitfalls", Section::pitfalls},
            {"Tests", Section::tests},
        };
        const auto found = sections.find(name);
        require(found != sections.end() || name.starts_with(approach), "an unknown section");
        if (found != sections.end()) {
            m_section = found->second;
        } else {
            m_section = Section::approach;
            m_exercise.approaches.push_back({name.substr(approach.size()), {}, {}, {}, {}});
        }
    }

    void takeText(std::string_view line) {
        const bool isItem = line.starts_with("- ");
        const std::string_view item = isItem ? trimmed(line.substr(2)) : line;
        switch (m_section) {
        case Section::head:
            require(isItem, "only items stand above the sections");
            takeSetting(item);
            return;
        case Section::statement:
            append(m_exercise.statement, line);
            return;
        case Section::approach:
            takeApproach(m_exercise.approaches.back(), item, isItem);
            return;
        case Section::pitfalls:
            require(isItem, "pitfalls are items");
            m_exercise.pitfalls.emplace_back(item);
            return;
        case Section::tests:
            require(false, "tests stand in a code block");
        }
    }

    // Wrapped lines of a paragraph are one line of the answer, whose readers know no other.
    static void append(std::string& paragraph, std::string_view line) {
        paragraph.append(paragraph.empty() ? "" : " ").append(line);
    }

    void takeApproach(Approach& approach, std::string_view item, bool isItem) {
        if (!isItem) {
            append(approach.idea, item);
        } else if (item.starts_with("Time: ")) {
            approach.time = trimmed(item.substr(6));
        } else if (item.starts_with("Space: ")) {
            approach.space = trimmed(item.substr(7));
        } else {
            require(false, "an approach has the items Time and Space");
        }
    }

    void takeSetting(std::string_view item) {
        const auto colon = item.find(": ");
        require(colon != std::string_view::npos, "a setting is \"- Name: value\"");
        const std::string name(item.substr(0, colon));
        const std::string_view value = trimmed(item.substr(colon + 2));
        require(m_settings.insert({name, m_line}).second, "a setting stands twice");
        if (name == "Function" || name == "Class") {
            require(m_exercise.signs.entry.empty(), "a function or a class, not both");
            m_exercise.isClass = name == "Class";
            takeEntry(value);
        } else if (name == "Also called") {
            for (std::string& title : split(value, ';')) {
                m_exercise.signs.titles.push_back(std::move(title));
            }
        } else if (name == "Signs") {
            m_exercise.signs.signs = wordingsOf(value);
        } else if (name == "Not") {
            m_exercise.signs.foreign = wordingsOf(value);
        } else if (name == "Takes") {
            m_exercise.takes = split(value, ',');
        } else if (name == "Gives") {
            m_exercise.gives = value;
        } else if (name == "Results") {
            require(value == "any order" || value == "any order inside", "an unknown order");
            m_exercise.order = value == "any order" ? ResultOrder::any : ResultOrder::anyInside;
        } else {
            require(false, "an unknown setting");
        }
    }

    void takeEntry(std::string_view value) {
        const auto open = value.find('(');
        m_exercise.signs.entry = trimmed(value.substr(0, open));
        if (open == std::string_view::npos) {
            return;
        }
        auto& parameters = m_exercise.signs.parameters;
        parameters = split(value.substr(open + 1, value.size() - open - 2), ',');
        require(!m_exercise.isClass && value.ends_with(')') &&
                    std::none_of(parameters.begin(), parameters.end(),
                                 [](const std::string& name) { return name.empty(); }),
                "a function is \"name(parameter, parameter)\"");
    }

    void checkWhole() const {
        const Exercise& exercise = m_exercise;
        const auto check = [](bool holds, const char* message) {
            if (!holds) {
                throw ExerciseError(message);
            }
        };
        check(!exercise.signs.titles.empty(), "the title is missing");
        check(!exercise.signs.entry.empty(), "the function or class is missing");
        check(exercise.signs.signs.size() >= fewestSigns, "there are too few signs");
        check(!exercise.statement.empty(), "the statement is missing");
        check(exercise.approaches.size() == approachesPerExercise, "three approaches are needed");
        for (const Approach& approach : exercise.approaches) {
            check(!approach.idea.empty() && !approach.code.empty() && !approach.time.empty() &&
                      !approach.space.empty(),
                  "an approach needs an idea, code, time and space");
        }
        check(!exercise.pitfalls.empty(), "the pitfalls are missing");
        check(exercise.tests.size() >= fewestTests, "there are too few tests");
        for (const auto* signs : {&exercise.signs.signs, &exercise.signs.foreign}) {
            for (const Wordings& wordings : *signs) {
                check(std::none_of(wordings.begin(), wordings.end(),
                                   [](const std::string& wording) { return wording.empty(); }),
                      "a wording is empty");
            }
        }
    }

    Exercise m_exercise;
    Section m_section = Section::head;
    std::map<std::string, std::size_t> m_settings; ///< with their lines
    bool m_isInFence = false;
    std::size_t m_line = 1;
};

// As strictly as the memory is read later on.
bool isUtf8(std::string_view text) {
    try {
        parseStrictly(boost::json::serialize(boost::json::string(text.data(), text.size())));
        return true;
    } catch (const JsonError&) {
        return false;
    }
}

} // namespace

Exercise readExercise(std::string_view text) {
    // The memory could be written, and then not be read any more.
    if (!isUtf8(text)) {
        throw ExerciseError("the text is not UTF-8");
    }
    return Reader().read(text);
}

// No blank line above a section: the panel sets one of its own there. Code stands under a heading
// of its own, which the panel leaves out together with it.
std::string answerOf(const Exercise& exercise) {
    std::string text = "# " + exercise.title() + "\n";
    text += "**Status:** Locally checked: all approaches passed the tests of this exercise.\n\n";
    text += exercise.statement + "\n";
    std::size_t number = 0;
    for (const Approach& approach : exercise.approaches) {
        text += "## " + std::to_string(++number) + ". " + approach.name + "\n";
        text += approach.idea + "\n";
        text += "- Time: " + approach.time + "\n";
        text += "- Space: " + approach.space + "\n\n";
        text += "### Code\n```python\n" + approach.code + "```\n";
    }
    text += "## Pitfalls\n";
    for (const std::string& pitfall : exercise.pitfalls) {
        text += "- " + pitfall + "\n";
    }
    text.pop_back();
    return text;
}

} // namespace lumivane::service
