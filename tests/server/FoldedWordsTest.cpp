#include "server/memory/FoldedWords.h"

#include "server/memory/Vocabulary.h"

#include <gtest/gtest.h>

namespace lumivane::service {

using Words = std::vector<std::string>;

namespace {

/// The whole table, slow and plain.
std::size_t plainDistance(const std::string& left, const std::string& right) {
    std::vector<std::vector<std::size_t>> table(left.size() + 1,
                                                std::vector<std::size_t>(right.size() + 1));
    for (std::size_t row = 0; row <= left.size(); ++row) {
        for (std::size_t column = 0; column <= right.size(); ++column) {
            if (row == 0 || column == 0) {
                table[row][column] = row + column;
                continue;
            }
            const std::size_t same =
                table[row - 1][column - 1] + (left[row - 1] == right[column - 1] ? 0 : 1);
            table[row][column] =
                std::min({same, table[row - 1][column] + 1, table[row][column - 1] + 1});
        }
    }
    return table[left.size()][right.size()];
}

std::string wordFrom(std::uint32_t& state) {
    std::string word;
    for (state = state * 1664525U + 1013904223U; word.size() < (state >> 28U) % 9;) {
        state = state * 1664525U + 1013904223U;
        word += static_cast<char>('a' + (state >> 16U) % 3);
    }
    return word;
}

} // namespace

TEST(FoldedWords, FormsOfAWordAreOneWord) {
    for (const char* form : {"merge", "merges", "merged", "merging", "MERGE"}) {
        EXPECT_EQ(foldWord(form), foldWord("merge")) << form;
    }
    EXPECT_EQ(foldWord("trapping"), foldWord("trap"));
    EXPECT_EQ(foldWord("houses"), foldWord("house"));
    EXPECT_EQ(foldWord("prices"), foldWord("price"));
    EXPECT_EQ(foldWord("positions"), foldWord("position"));
}

TEST(FoldedWords, ShortWordsAndOtherWordsStayApart) {
    EXPECT_NE(foldWord("string"), foldWord("str"));
    EXPECT_NE(foldWord("class"), foldWord("clas"));
    EXPECT_NE(foldWord("two"), foldWord("to"));
    EXPECT_NE(foldWord("maximum"), foldWord("minimum"));
    EXPECT_EQ(foldWord(""), "");
}

TEST(FoldedWords, LettersThatLookAlikeAreOne) {
    EXPECT_EQ(foldWord("tw0"), foldWord("two"));
    EXPECT_EQ(foldWord("1ist"), foldWord("list"));
    EXPECT_EQ(foldWord("retum"), foldWord("return"));
    EXPECT_EQ(foldWord("pr0fit"), foldWord("profit"));
    EXPECT_EQ(foldName("tw0Sum"), foldName("two_sum"));
}

TEST(FoldedWords, NumbersStayNumbers) {
    EXPECT_EQ(foldWord("0"), "0");
    EXPECT_EQ(foldWord("15"), "15");
    EXPECT_NE(foldWord("1"), foldWord("l"));
}

TEST(FoldedWords, NamesOfProgramsFallIntoTheirWords) {
    EXPECT_EQ(foldedWordsOf("maxProfit(max_profit)"), (Words{"max", "proflt", "max", "proflt"}));
    EXPECT_EQ(foldedWordsOf("List[int]"), (Words{"llst", "lnt"}));
    EXPECT_EQ(foldedWordsOf("  -- \n"), Words{});
}

TEST(FoldedWords, DistanceWithinTheLimitIsExact) {
    std::uint32_t state = 7;
    for (int round = 0; round < 3000; ++round) {
        const std::string left = wordFrom(state);
        const std::string right = wordFrom(state);
        for (std::size_t limit = 0; limit < 4; ++limit) {
            EXPECT_EQ(editDistance(left, right, limit),
                      std::min(plainDistance(left, right), limit + 1))
                << left << " " << right << " " << limit;
        }
    }
}

TEST(Vocabulary, FindsWordsThatLostOrGainedOrChangedALetter) {
    Vocabulary vocabulary;
    const auto id = vocabulary.add("substring");
    for (const char* seen :
         {"substring", "ubstring", "substrin", "substing", "subxstring", "substrong"}) {
        EXPECT_EQ(vocabulary.find(seen), id) << seen;
    }
    for (const char* other : {"substr", "ubstrin", "subtsring", "stringsub", ""}) {
        EXPECT_EQ(vocabulary.find(other), std::nullopt) << other;
    }
}

TEST(Vocabulary, ShortWordsMustBeExact) {
    Vocabulary vocabulary;
    const auto id = vocabulary.add("land");
    EXPECT_EQ(vocabulary.find("land"), id);
    EXPECT_EQ(vocabulary.find("lend"), std::nullopt);
    EXPECT_EQ(vocabulary.find("lan"), std::nullopt);
}

TEST(Vocabulary, TheExactWordWinsThenTheFirst) {
    Vocabulary vocabulary;
    const auto first = vocabulary.add("steps");
    const auto second = vocabulary.add("stems");
    EXPECT_EQ(vocabulary.add("steps"), first);
    EXPECT_EQ(vocabulary.find("stems"), second);
    EXPECT_EQ(vocabulary.find("stevs"), first);
    EXPECT_EQ(vocabulary.size(), 2U);
}

} // namespace lumivane::service
