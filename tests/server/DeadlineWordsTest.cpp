#include "server/analysis/DeadlineWords.h"

#include "server/analysis/ScreenWords.h"

#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

TimeMention mention(const char* text) { return timeMention(wordsOf(text)); }

} // namespace

TEST(DeadlineWords, SaysWhatIsDue) {
    for (const char* text :
         {"Reports are due by Friday.", "Due date: 14 March 2026", "Due: 2026-03-14",
          "Submit the form on Monday", "Please answer before 5 pm",
          "Send it by the end of the week", "Open until 28 March",
          "The deadline for talks is 3.4.2026", "RSVP by the 14th", "no later than tomorrow",
          "Friday is the deadline", "Offer expires on 31/12", "Bitte bis zum 24. April abgeben",
          "Répondez avant le 3 mai", "Entro venerdì", "申し込みは3月14日まで受け付けます"}) {
        EXPECT_EQ(mention(text), TimeMention::deadline) << text;
    }
}

TEST(DeadlineWords, AMomentAloneIsNoDeadline) {
    for (const char* text :
         {"The council met on Tuesday.", "It opened in March 2026", "Starts at 14:30",
          "Written by Anna on Tuesday", "We met at 5 pm", "Lunch at 12h30"}) {
        EXPECT_EQ(mention(text), TimeMention::moment) << text;
    }
}

TEST(DeadlineWords, NumbersAndWordsThatOnlyLookLikeTimes) {
    for (const char* text :
         {"Version 3.5 is out", "by hand", "due to rain", "pages 1-2 of 12", "You may go",
          "The march was long", "until further notice", "the 3rd time", "ratio 4:3", "", "5"}) {
        EXPECT_EQ(mention(text), TimeMention::none) << text;
    }
}

TEST(DeadlineWords, CountsTheWordsOfMoments) {
    EXPECT_EQ(countMomentWords(wordsOf("Sent: Tuesday, 3 March 2026 14:02")), 5U);
    EXPECT_EQ(countMomentWords(wordsOf("no time at all")), 0U);
}

TEST(ScreenWords, WordsKeepTheirInnerPunctuation) {
    EXPECT_EQ(wordsOf("  (Due: 14:30, «Été» )"), (std::vector<std::string>{"due", "14:30", "été"}));
    EXPECT_EQ(wordsOf("... -- !"), std::vector<std::string>{});
}

TEST(ScreenWords, TermsAreRunsAndPairs) {
    EXPECT_EQ(termsOf("It's 日本語"), (std::vector<std::string>{"it", "s", "日本", "本語"}));
}

TEST(ScreenWords, ReadingWordsCountsBothKindsOfScript) {
    EXPECT_EQ(readingWords("one two-three 4"), 3U);
    EXPECT_EQ(readingWords("来月の勉強会は"), 3U);
    EXPECT_EQ(readingWords("--- ..."), 0U);
}

TEST(ScreenWords, FoldedKeyIgnoresTrimmings) {
    EXPECT_EQ(foldedKey("• Sign in!"), foldedKey("SIGN IN"));
}

} // namespace lumivane::service
