#include "server/analysis/ScreenSentences.h"

#include "server/analysis/ScreenLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> texts(std::string_view transcript) {
    std::vector<std::string> all;
    for (const ScreenSentence& sentence : sentencesOf(transcript)) {
        all.push_back(sentence.text);
    }
    return all;
}

} // namespace

TEST(ScreenSentences, JoinsWrappedLinesAndCutsAtFullStops) {
    EXPECT_THAT(texts("The ferry crosses the harbour four times\nan hour. It stops at the market.\n"
                      "\nAnother block begins right here"),
                ElementsAre("The ferry crosses the harbour four times an hour.",
                            "It stops at the market.", "Another block begins right here"));
}

TEST(ScreenSentences, ShortFormsAndNumbersDoNotEndASentence) {
    EXPECT_THAT(texts("Dr. Berg and J. Marsh met on 3. May at approx. noon."),
                ElementsAre("Dr. Berg and J. Marsh met on 3. May at approx. noon."));
    EXPECT_THAT(texts("It costs 3.50 a day, e.g. for a boat."),
                ElementsAre("It costs 3.50 a day, e.g. for a boat."));
}

TEST(ScreenSentences, ScriptsWithoutBlanksAreCutAtTheirOwnStops) {
    EXPECT_THAT(
        texts("来月の勉強会は新しい会議室で開きます。資料は事前に共有フォルダへ置いてください。"),
        ElementsAre("来月の勉強会は新しい会議室で開きます。",
                    "資料は事前に共有フォルダへ置いてください。"));
}

TEST(ScreenSentences, FurnitureIsLeftOut) {
    EXPECT_THAT(texts("File   Edit   View\nOK\nSign in\n14:32\nTuesday, 3 March 2026\n"
                      "/home/kim/a/report.txt\nhttps://example.org/a/b is here\n----------\n"
                      "$ make the whole thing now\nkim@desk:~$ ls -l all of it\n"
                      "[\u2026 120 characters omitted \u2026]"),
                IsEmpty());
}

TEST(ScreenSentences, ShortLinesThatComeAgainAreButtonsAndLongOnesStayOnce) {
    EXPECT_THAT(texts("Add to my list\n\nAdd to my list\n\n"
                      "The ferry crosses the harbour every hour\n\n"
                      "The ferry crosses the harbour every hour"),
                ElementsAre("The ferry crosses the harbour every hour"));
}

TEST(ScreenSentences, ARowOfATableStaysWhereACellSaysSomething) {
    EXPECT_THAT(texts("Print the posters for sale   Tom   open\nChairs   Kim   done\n"
                      "Hall   Anna   due 14 March"),
                ElementsAre("Print the posters for sale, Tom, open", "Hall, Anna, due 14 March"));
}

TEST(ScreenSentences, MarksOfListsCommentsAndQuotesAreTakenOff) {
    const auto sentences = sentencesOf("- one item of a list\n2. second item of a list\n"
                                       "// a comment in a program\n> what was said before");
    ASSERT_EQ(sentences.size(), 4U);
    EXPECT_EQ(sentences[0].text, "one item of a list");
    EXPECT_EQ(sentences[1].text, "second item of a list");
    EXPECT_EQ(sentences[2].text, "a comment in a program");
    EXPECT_EQ(sentences[2].kind, SentenceKind::prose);
    EXPECT_EQ(sentences[3].text, "what was said before");
    EXPECT_EQ(sentences[3].kind, SentenceKind::quoted);
}

TEST(ScreenSentences, QuestionsAreToldFromLabels) {
    const auto sentences =
        sentencesOf("Forgot your password?\n\nWho will open the hall (on time?)");
    ASSERT_EQ(sentences.size(), 1U);
    EXPECT_TRUE(sentences[0].isQuestion);
}

TEST(ScreenSentences, TheStampOfALogLineIsNoDate) {
    const auto sentences = sentencesOf("2026-03-02 14:02 worker has started well");
    ASSERT_EQ(sentences.size(), 1U);
    EXPECT_EQ(sentences[0].time, TimeMention::none);
}

TEST(ScreenSentences, FailuresCountAsProseEvenInProgramText) {
    const auto sentences = sentencesOf("a.cpp:3:1: error: 'x::y' was not declared here");
    ASSERT_EQ(sentences.size(), 1U);
    EXPECT_TRUE(sentences[0].isFailure);
    EXPECT_EQ(sentences[0].kind, SentenceKind::prose);
}

TEST(ScreenSentences, CodeIsToldFromProse) {
    for (const char* line : {"int x = 5;", "if (a && b) {", "for item in list():", "a->b(c)",
                             "#include <vector>", "}", "def total(lines):"}) {
        EXPECT_TRUE(isCodeLike(line)) << line;
    }
    for (const char* line : {"The class meets on Monday:", "Prices (with tax) have risen again.",
                             "Return the book to the library", ""}) {
        EXPECT_FALSE(isCodeLike(line)) << line;
    }
}

TEST(ScreenSentences, NumberOfSentencesIsBounded) {
    std::string many;
    for (int index = 0; index < 3000; ++index) {
        many += "This is sentence number " + std::to_string(index) + " of many.\n\n";
    }
    EXPECT_EQ(sentencesOf(many).size(), 1500U);
}

TEST(ScreenSentences, BrokenAndInvisibleCharactersVanish) {
    EXPECT_THAT(texts("The fer\u200Bry \xFF crosses\x01 the harbour"),
                ElementsAre("The ferry  crosses the harbour"));
}

} // namespace lumivane::service
