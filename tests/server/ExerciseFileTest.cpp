#include "server/memory_build/ExerciseFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace lumivane::service {

namespace {

std::string approach(const std::string& name) {
    return "## Approach: " + name +
           "\nAn idea\non two lines.\n\n```python\nclass Solution:\n    pass\n```\n\n"
           "- Time: O(n)\n- Space: O(1)\n\n";
}

std::string whole() {
    return "# Add Up\n\n- Function: addUp\n- Also called: Sum Up; Total\n"
           "- Signs: add | sum; numbers; list; total\n- Not: product; two numbers\n"
           "- Results: any order\n\n## Statement\nAdd all\nnumbers.\n\n" +
           approach("One") + approach("Two") + approach("Three") +
           "## Pitfalls\n- Empty lists.\n- Large sums.\n\n"
           "## Tests\n```json\n[[[1]], 1]\n[[[1, 2]], 3]\n[[[]], 0]\n[[[5, 5]], 10]\n```\n";
}

std::string with(const std::string& text, const std::string& replacement) {
    std::string changed = whole();
    const auto at = changed.find(text);
    EXPECT_NE(at, std::string::npos) << text;
    return changed.replace(at, text.size(), replacement);
}

std::string errorOf(const std::string& text) {
    try {
        readExercise(text);
    } catch (const ExerciseError& error) {
        return error.what();
    }
    return "read";
}

std::vector<Exercise> shipped() {
    std::vector<Exercise> exercises;
    for (const auto& entry : std::filesystem::directory_iterator(LUMIVANE_EXERCISES_FOLDER)) {
        std::ifstream file(entry.path());
        const std::string text{std::istreambuf_iterator<char>(file),
                               std::istreambuf_iterator<char>()};
        exercises.push_back(readExercise(text));
    }
    return exercises;
}

} // namespace

TEST(ExerciseFile, ReadsEverySection) {
    const Exercise exercise = readExercise(whole());
    EXPECT_EQ(exercise.title(), "Add Up");
    EXPECT_EQ(exercise.signs.titles, (std::vector<std::string>{"Add Up", "Sum Up", "Total"}));
    EXPECT_EQ(exercise.signs.entry, "addUp");
    EXPECT_FALSE(exercise.isClass);
    EXPECT_EQ(exercise.signs.signs,
              (std::vector<Wordings>{{"add", "sum"}, {"numbers"}, {"list"}, {"total"}}));
    EXPECT_EQ(exercise.signs.foreign, (std::vector<Wordings>{{"product"}, {"two numbers"}}));
    EXPECT_EQ(exercise.order, ResultOrder::any);
    EXPECT_EQ(exercise.statement, "Add all numbers.");
    ASSERT_EQ(exercise.approaches.size(), 3U);
    EXPECT_EQ(exercise.approaches[1].name, "Two");
    EXPECT_EQ(exercise.approaches[1].idea, "An idea on two lines.");
    EXPECT_EQ(exercise.approaches[1].code, "class Solution:\n    pass\n");
    EXPECT_EQ(exercise.approaches[1].time, "O(n)");
    EXPECT_EQ(exercise.approaches[1].space, "O(1)");
    EXPECT_EQ(exercise.pitfalls, (std::vector<std::string>{"Empty lists.", "Large sums."}));
    EXPECT_EQ(exercise.tests.size(), 4U);
}

TEST(ExerciseFile, AFunctionMayNameWhatItTakes) {
    const auto signs = readExercise(with("addUp", "addUp(list, start)")).signs;
    EXPECT_EQ(signs.entry, "addUp");
    EXPECT_EQ(signs.parameters, (std::vector<std::string>{"list", "start"}));
    EXPECT_TRUE(readExercise(whole()).signs.parameters.empty());
    for (const char* wrong : {"Function: addUp(list", "Function: addUp(list) now",
                              "Function: addUp()", "Function: addUp(list, )", "Class: Sum(list)"}) {
        EXPECT_EQ(errorOf(with("Function: addUp", wrong)),
                  "line 3: a function is \"name(parameter, parameter)\"")
            << wrong;
    }
}

TEST(ExerciseFile, MistakesAreNamedWithTheirLines) {
    EXPECT_EQ(errorOf(with("- Not:", "- Nor:")), "line 6: an unknown setting");
    EXPECT_EQ(errorOf(with("- Results: any order", "- Results: none")), "line 7: an unknown order");
    EXPECT_EQ(errorOf(with("## Pitfalls", "## Traps")), "line 49: an unknown section");
    EXPECT_EQ(errorOf(with("[[[1, 2]], 3]", "[[1, 2], 3")),
              "line 56: a test cannot be read: it is not well-formed JSON in UTF-8");
    EXPECT_EQ(errorOf(with("[[[1, 2]], 3]", "[3, [1]]")), "line 56: a test is [arguments, result]");
    EXPECT_EQ(errorOf(with("- Time: O(n)", "- Speed: O(n)")),
              "line 22: an approach has the items Time and Space");
    EXPECT_EQ(errorOf(with("- Function: addUp", "- Function: a\n- Function: b")),
              "line 4: a setting stands twice");
    EXPECT_EQ(errorOf(with("- Function: addUp", "- Function: a\n- Class: b")),
              "line 4: a function or a class, not both");
    EXPECT_EQ(errorOf(with("# Add Up", "# Add Up\n# Again")), "line 2: a second title");
    EXPECT_EQ(errorOf(with("```python", "```java")),
              "line 17: a code block that does not belong here");
}

// Such a memory could be written, and nobody could read it.
TEST(ExerciseFile, BrokenTextIsRefused) {
    EXPECT_EQ(errorOf(with("Sum Up", "Sum\xFFUp")), "the text is not UTF-8");
    EXPECT_EQ(errorOf(with("Sum Up", "Sum \xED\xA0\x80")), "the text is not UTF-8");
}

TEST(ExerciseFile, WhatIsMissingIsSaid) {
    EXPECT_EQ(errorOf(""), "the title is missing");
    EXPECT_EQ(errorOf(with("- Function: addUp\n", "")), "the function or class is missing");
    EXPECT_EQ(errorOf(with("; total", "")), "there are too few signs");
    EXPECT_EQ(errorOf(with("add | sum", "add |")), "a wording is empty");
    EXPECT_EQ(errorOf(with("Add all\nnumbers.", "")), "the statement is missing");
    EXPECT_EQ(errorOf(with(approach("Two"), "")), "three approaches are needed");
    EXPECT_EQ(errorOf(with("- Space: O(1)\n", "")),
              "an approach needs an idea, code, time and space");
    EXPECT_EQ(errorOf(with("[[[1]], 1]\n", "")), "there are too few tests");
    EXPECT_EQ(errorOf(with("- Empty lists.\n- Large sums.\n", "")), "the pitfalls are missing");
    EXPECT_NE(errorOf(with("[[[5, 5]], 10]\n```\n", "[[[5, 5]], 10]\n"))
                  .find("a code block is not closed"),
              std::string::npos);
}

// What the panel drops stands in one piece, and blank lines stand where it sets none of its own.
TEST(ExerciseFile, AnAnswerIsMarkdownForPanelAndNotes) {
    const std::string one = "## 1. One\nAn idea on two lines.\n- Time: O(n)\n- Space: O(1)\n\n"
                            "### Code\n```python\nclass Solution:\n    pass\n```\n";
    const std::string answer = answerOf(readExercise(whole()));
    EXPECT_EQ(answer.find("# Add Up\n**Status:** Locally checked: all approaches passed the tests "
                          "of this exercise.\n\nAdd all numbers.\n" +
                          one + "## 2. Two\n"),
              0U)
        << answer;
    EXPECT_TRUE(answer.ends_with("```\n## Pitfalls\n- Empty lists.\n- Large sums."));
}

TEST(ExerciseFile, TheShippedExercisesSayEverythingInWordsThatReadersCanShow) {
    const auto exercises = shipped();
    EXPECT_GE(exercises.size(), 20U);
    std::set<std::string> titles;
    for (const Exercise& exercise : exercises) {
        titles.insert(exercise.title());
        EXPECT_GE(exercise.pitfalls.size(), 3U) << exercise.title();
        EXPECT_GE(exercise.signs.foreign.size(), 3U) << exercise.title();
        // The notes show two asterisks as they stand unless they come in pairs.
        EXPECT_EQ(exercise.statement.find("**"), std::string::npos) << exercise.title();
        for (const Approach& given : exercise.approaches) {
            EXPECT_EQ((given.name + given.idea).find("**"), std::string::npos) << given.name;
            EXPECT_EQ((given.name + given.idea).find('_'), std::string::npos) << given.name;
        }
    }
    EXPECT_EQ(titles.size(), exercises.size());
}

} // namespace lumivane::service
