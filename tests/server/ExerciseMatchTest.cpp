#include "server/memory/ExerciseMatch.h"

#include "server/memory/FoldedWords.h"
#include "server/text/StrictJson.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lumivane::service {

namespace {

ScreenHeading headingOf(const std::string& text) {
    const auto headings = headingsOf(text);
    return headings.empty() ? ScreenHeading{} : headings.front();
}

HeadingFit fit(const std::string& seen, const std::string& title) {
    return fitOf(headingOf(seen), headingOf(title));
}

ExerciseSigns signsOfFour() {
    ExerciseSigns signs;
    signs.titles = {"Count Red Apples"};
    signs.entry = "countApples";
    signs.signs = {{"red apples"}, {"basket of fruit", "crate"}, {"ripe"}, {"orchard row"}};
    signs.foreign = {{"green apples"}};
    return signs;
}

MatchEvidence evidenceOn(const std::string& screen) {
    Vocabulary vocabulary;
    const ExerciseMatch match(signsOfFour(), vocabulary);
    return match.evidenceOn(ExerciseScreen(screen, vocabulary));
}

} // namespace

TEST(ScreenHeadings, WhatStandsBesideATitleIsTakenOff) {
    for (const char* seen : {"1. Two Sum", "#1 Two Sum", "(1) Two Sum", "1 . Two Sum   ",
                             "Problem 1: Two Sum", "Two Sum Easy", "LeetCode 1 Two Sum"}) {
        EXPECT_EQ(fit(seen, "Two Sum"), HeadingFit::same) << seen;
    }
    EXPECT_TRUE(headingOf("1. Two Sum").isNumbered);
    EXPECT_FALSE(headingOf("Two Sum").isNumbered);
}

TEST(ScreenHeadings, CellsAndPartsOfAWindowTitleAreHeadings) {
    for (const char* line : {"1. Two Sum   Easy   54 %", "Two Sum - Practice - Browser",
                             "Description | Two Sum | Notes", "Exercise: Two Sum"}) {
        const auto headings = headingsOf(line);
        const ScreenHeading title = headingOf("Two Sum");
        EXPECT_TRUE(std::any_of(headings.begin(), headings.end(), [&](const auto& heading) {
            return fitOf(heading, title) == HeadingFit::same;
        })) << line;
    }
}

TEST(ScreenHeadings, WrappedTitlesAreJoined) {
    const auto headings = headingsOf("Longest Substring\nWithout Repeating\nCharacters\nEasy");
    const ScreenHeading title = headingOf("Longest Substring Without Repeating Characters");
    const auto found = std::find_if(headings.begin(), headings.end(), [&](const auto& heading) {
        return fitOf(heading, title) == HeadingFit::same;
    });
    ASSERT_NE(found, headings.end());
    EXPECT_TRUE(found->isJoined);
    EXPECT_EQ(found->line, 0U);
}

TEST(ScreenHeadings, LostLettersAndBlanksAreReadOver) {
    EXPECT_EQ(fit("Valid Parenteses", "Valid Parentheses"), HeadingFit::same);
    EXPECT_EQ(fit("ValidParentheses", "Valid Parentheses"), HeadingFit::same);
    EXPECT_EQ(fit("Val id Parentheses", "Valid Parentheses"), HeadingFit::same);
    EXPECT_EQ(fit("Tw0 5um", "Two Sum"), HeadingFit::same);
    EXPECT_EQ(fit("To Sum", "Two Sum"), HeadingFit::near);
}

TEST(ScreenHeadings, OtherTitlesAreOther) {
    EXPECT_EQ(fit("Two Sum II - Input Array Is Sorted", "Two Sum"), HeadingFit::sequel);
    EXPECT_EQ(fit("Coin Change 2", "Coin Change"), HeadingFit::sequel);
    EXPECT_EQ(fit("Longest Valid Parentheses", "Valid Parentheses"), HeadingFit::longer);
    EXPECT_EQ(fit("3Sum Closest", "3Sum"), HeadingFit::longer);
    EXPECT_EQ(fit("4Sum", "3Sum"), HeadingFit::none);
    EXPECT_EQ(fit("Merge k Sorted Lists", "Merge Two Sorted Lists"), HeadingFit::none);
    EXPECT_EQ(fit("Minimum Depth of Binary Tree", "Maximum Depth of Binary Tree"),
              HeadingFit::none);
    EXPECT_EQ(fit("Maximum Product Subarray", "Maximum Subarray"), HeadingFit::none);
    EXPECT_EQ(fit("Max Stack", "Min Stack"), HeadingFit::none);
}

TEST(ScreenHeadings, SentencesAndCodeAreNoTitles) {
    EXPECT_TRUE(headingOf("Group Anagrams").isTitle);
    EXPECT_TRUE(headingOf("15. 3Sum").isTitle);
    EXPECT_FALSE(headingOf("You are given an array of numbers").isTitle);
    EXPECT_FALSE(headingOf("The End.").isTitle);
    EXPECT_FALSE(headingOf("Output: [0,1]").isTitle);
    EXPECT_FALSE(headingOf("2 <= n").isTitle);
    EXPECT_TRUE(headingsOf("").empty());
    EXPECT_TRUE(headingsOf("--- ... \n ***").empty());
}

TEST(ExerciseScreen, WordsStandTogetherInAnyOrderAndAcrossLines) {
    EXPECT_EQ(evidenceOn("apples that are red").signs, 1U);
    EXPECT_EQ(evidenceOn("red\napples").signs, 1U);
    EXPECT_EQ(evidenceOn("red a b c d e f g h i j k apples").signs, 0U);
    EXPECT_EQ(evidenceOn("the crate in the row of an orchard").signs, 2U);
    EXPECT_EQ(evidenceOn("").signs, 0U);
}

TEST(ExerciseScreen, ForeignSignsMustFollowOneAnother) {
    EXPECT_EQ(evidenceOn("green apples").foreignSigns, 1U);
    EXPECT_EQ(evidenceOn("green ripe apples").foreignSigns, 1U);
    EXPECT_EQ(evidenceOn("apples, green").foreignSigns, 0U);
    // A title in a list of similar exercises.
    EXPECT_EQ(evidenceOn("Count Green Apples").foreignSigns, 0U);
}

TEST(ExerciseScreen, AnEntryIsANameOfAProgram) {
    EXPECT_TRUE(evidenceOn("int countApples(int n)").hasEntry);
    EXPECT_TRUE(evidenceOn("def count_apples (n):").hasEntry);
    EXPECT_TRUE(evidenceOn("int contApples(int n)").hasEntry);
    EXPECT_FALSE(evidenceOn("count apples").hasEntry);
    EXPECT_FALSE(evidenceOn("int countPears(int n)").hasEntry);
}

TEST(ExerciseScreen, AnEntryThatTakesSomethingElseIsAnothers) {
    Vocabulary vocabulary;
    const auto fitOn = [&](const std::string& text) {
        return ExerciseScreen(text, vocabulary)
            .fitOfEntry(foldName("pick"), {foldName("crates"), foldName("wanted")});
    };
    for (const char* own : {
             "def pick(self, crates: list[int], wanted: int) -> int:",
             "def pick(crates, wanted):",
             "function pick(crates, wanted) {",
             "int pick(vector<int>& crates, int wanted) {",
             "public int pick(int[] crates,\n    int wanted) {",
             "def pick(self, crats: list[int], wantod: int):", // a letter is lost or misread
             "pick(4, 5)",                                     // a call tells nothing
             "pick(boxes, found)",
             "def pick(self, boxes: list[int], wanted: int", // cut off
             "def pick(boxes, wanted):\ndef pick(crates, wanted):",
         }) {
        EXPECT_EQ(fitOn(own), EntryFit::same) << own;
    }
    for (const char* other : {
             "def pick(self, boxes: 'Boxes', wanted: int) -> int:",
             "def pick(boxes, wanted):",
             "fun pick(boxes, wanted)",
             "int pick(const Boxes& boxes, int wanted) {",
             "def pick():",
             "def pick(boxes, wanted):\npick(boxes, 4)",
         }) {
        EXPECT_EQ(fitOn(other), EntryFit::other) << other;
    }
    EXPECT_EQ(fitOn("def choose(crates, wanted):"), EntryFit::none);
    // Where the exercise names none, any will do.
    EXPECT_EQ(ExerciseScreen("def pick(boxes):", vocabulary).fitOfEntry(foldName("pick"), {}),
              EntryFit::same);
}

TEST(ExerciseScreen, TheNamesOfLongFunctionsAreReadOverBesideTheirParameters) {
    Vocabulary vocabulary;
    const auto fitOn = [&](const std::string& text) {
        return ExerciseScreen(text, vocabulary)
            .fitOfEntry(foldName("countApples"), {foldName("crates")});
    };
    EXPECT_EQ(fitOn("def contApples(crates):"), EntryFit::same);
    EXPECT_EQ(fitOn("def contApples(boxes):"), EntryFit::none);
}

TEST(ExerciseMatch, AnOwnTitleOrAnothers) {
    const auto own = evidenceOn("7. Count Red Apples");
    EXPECT_TRUE(own.hasTitle && own.hasNumberedTitle && !own.hasOtherTitle);
    EXPECT_TRUE(evidenceOn("8. Count Pears").hasOtherTitle);
    EXPECT_TRUE(evidenceOn("Count Red Apples II\nCount Red Apples").hasOtherTitle);
    EXPECT_TRUE(evidenceOn("Count Red Apples\nII").hasOtherTitle);
    // A list beside the exercise takes nothing from its own numbered title.
    EXPECT_FALSE(evidenceOn("7. Count Red Apples\nCount Red Apples II").hasOtherTitle);
    EXPECT_FALSE(evidenceOn("red apples").hasOtherTitle);
}

TEST(ExerciseMatch, TheBars) {
    const auto enough = [](const char* kind, std::size_t signs, std::size_t all) {
        const std::string text = kind;
        MatchEvidence evidence;
        evidence.hasTitle = text.find("title") != std::string::npos;
        evidence.hasNumberedTitle = text.find("numbered") != std::string::npos;
        evidence.hasLongTitle = text.find("long") != std::string::npos;
        evidence.hasEntry = text.find("entry") != std::string::npos;
        evidence.hasOtherEntry = text.find("other") != std::string::npos;
        evidence.signs = signs;
        evidence.allSigns = all;
        return isEnough(evidence);
    };
    EXPECT_TRUE(enough("title entry", 2, 6));
    EXPECT_FALSE(enough("title entry", 1, 6));
    EXPECT_TRUE(enough("title", 4, 6));
    EXPECT_FALSE(enough("title", 3, 6));
    EXPECT_TRUE(enough("numbered title", 3, 6));
    EXPECT_FALSE(enough("numbered title", 2, 6));
    EXPECT_TRUE(enough("long title", 3, 6));
    EXPECT_TRUE(enough("entry", 3, 5));
    EXPECT_FALSE(enough("entry", 2, 5));
    EXPECT_TRUE(enough("", 6, 6));
    EXPECT_FALSE(enough("other", 6, 6));
    EXPECT_TRUE(enough("title other", 4, 6));
    EXPECT_FALSE(enough("", 5, 6));
}

TEST(ExerciseMatch, WhatBelongsToAnotherExerciseRulesOut) {
    MatchEvidence evidence;
    evidence.hasTitle = evidence.hasNumberedTitle = evidence.hasEntry = true;
    evidence.signs = evidence.allSigns = 6;
    EXPECT_TRUE(isEnough(evidence));
    evidence.foreignSigns = 1;
    EXPECT_FALSE(isEnough(evidence));
    evidence.foreignSigns = 0;
    evidence.hasOtherTitle = true;
    EXPECT_FALSE(isEnough(evidence));
}

TEST(ExerciseSigns, ReadBackAsWritten) {
    const ExerciseSigns signs = signsOfFour();
    EXPECT_EQ(decodeSigns(encodeSigns(signs)), signs);
    ExerciseSigns odd = signs;
    odd.titles.push_back("\"Qu\\otes\" é");
    odd.parameters = {"crates", "wanted"};
    EXPECT_EQ(decodeSigns(encodeSigns(odd)), odd);
}

TEST(ExerciseSigns, OtherRecordsAreRefused) {
    for (const char* text :
         {"", "[]", "{}",
          R"({"titles":"a","entry":"e","parameters":[],"signs":[["s"]],"foreign":[]})",
          R"({"titles":[],"entry":"e","parameters":[],"signs":[["s"]],"foreign":[]})",
          R"({"titles":["a"],"entry":1,"parameters":[],"signs":[["s"]],"foreign":[]})",
          R"({"titles":["a"],"entry":"e","parameters":[],"signs":[],"foreign":[]})",
          R"({"titles":["a"],"entry":"e","parameters":[],"signs":["s"],"foreign":[]})",
          R"({"titles":["a"],"entry":"e","parameters":[],"signs":[[""]],"foreign":[]})",
          R"({"titles":["a"],"entry":"e","parameters":[],"signs":[["s"]]})",
          R"({"titles":["a"],"entry":"e","signs":[["s"]],"foreign":[]})",
          R"({"titles":["a"],"entry":"e","parameters":[""],"signs":[["s"]],"foreign":[]})"}) {
        EXPECT_THROW(decodeSigns(text), JsonError) << text;
    }
}

} // namespace lumivane::service
