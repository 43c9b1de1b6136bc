#include "server/text/Utf8.h"

#include <gtest/gtest.h>

namespace lumivane::service {

TEST(Utf8, TakesWholeCodePointsAndBrokenBytesOneByOne) {
    std::string_view text = "aé€😀";
    EXPECT_EQ(takeCodePoint(text), U'a');
    EXPECT_EQ(takeCodePoint(text), U'é');
    EXPECT_EQ(takeCodePoint(text), U'€');
    EXPECT_EQ(takeCodePoint(text), U'😀');
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(countCodePoints("\xF0\x9F\x98"), 3U);
    EXPECT_EQ(countCodePoints("\xC3("), 2U);
    EXPECT_EQ(countCodePoints("\xFF\xC0\x80"), 3U);
}

TEST(Utf8, AppendIsTheInverseOfTake) {
    for (const char32_t codePoint : {U'a', U'ÿ', U'߿', U'ࠀ', U'￮', U'𐀀', U'\U0010FFFF'}) {
        std::string text;
        appendCodePoint(text, codePoint);
        std::string_view rest = text;
        EXPECT_EQ(takeCodePoint(rest), codePoint);
        EXPECT_TRUE(rest.empty());
    }
}

TEST(Utf8, LowersTheScriptsThatHaveCases) {
    EXPECT_EQ(toLowerText("ÄÖÜ ABC Ω ЖЁ Žŝ 日"), "äöü abc ω жё žŝ 日");
    EXPECT_EQ(toLowerText("×"), "×");
}

TEST(Utf8, TellsWordsFromPunctuation) {
    for (const char32_t codePoint : {U'a', U'7', U'é', U'ж', U'日', U'ª', U'ａ'}) {
        EXPECT_TRUE(isWordCharacter(codePoint)) << static_cast<unsigned>(codePoint);
    }
    for (const char32_t codePoint : {U'-', U'“', U'。', U'…', U'€', U'😀', U'？', U'×'}) {
        EXPECT_FALSE(isWordCharacter(codePoint)) << static_cast<unsigned>(codePoint);
    }
}

TEST(Utf8, TrimsEveryKindOfBlank) {
    EXPECT_EQ(trimmed(" \t\u00A0\u3000a b\u2003\n"), "a b");
    EXPECT_EQ(trimmed(" \u3000 "), "");
    EXPECT_FALSE(hasContent(" \n\u00A0"));
    EXPECT_TRUE(hasContent(" \n."));
}

TEST(Utf8, ShortensAtBlanksAndNeverInsideACharacter) {
    EXPECT_EQ(shortened("one two", 7), "one two");
    EXPECT_EQ(shortened("one two three", 9), "one two…");
    EXPECT_EQ(shortened("abcdefghij", 5), "abcd…");
    EXPECT_EQ(shortened("日本語日本語", 4), "日本語…");
    // The mark belongs to the letter before it, so both go.
    EXPECT_EQ(shortened("abce\u0301fgh", 5), "abc…");
}

} // namespace lumivane::service
