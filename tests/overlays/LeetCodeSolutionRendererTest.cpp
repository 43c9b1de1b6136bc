#include "overlays/LeetCodeSolutionRenderer.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace lumivane {

using namespace LeetCodeSolutionRenderer;
using Weight = StyledRun::Weight;

namespace {

constexpr double baseSize = 10;

StyledText render(const QString& text) { return rendered(text, baseSize); }

QString shown(const QString& text) { return render(text).plainText(); }

StyledText text(std::vector<StyledRun> runs) { return {std::move(runs)}; }

StyledRun plain(const QString& text) { return {.text = text}; }

StyledRun heading(const QString& text, double scale, Weight weight = Weight::bold) {
    return {.text = text, .pointSize = baseSize * scale, .weight = weight};
}

} // namespace

TEST(LeetCodeSolutionRenderer, TitleAndStatusLeaveNoTrace) {
    EXPECT_EQ(render(u"# Two Sum\n**Status:** memory\n\nUse a map."_qs),
              text({plain(u"Use a map."_qs)}));
}

TEST(LeetCodeSolutionRenderer, HeadingOfACodeBlockGoesWithIt) {
    EXPECT_EQ(
        render(u"Intro\n\n### Code\n```py\nx=1\n```\n\n## Complexity\nO(n)"_qs),
        text({plain(u"Intro\n\n\n"_qs), heading(u"Complexity"_qs, 1.28), plain(u"\nO(n)"_qs)}));
}

TEST(LeetCodeSolutionRenderer, HeadingsAreScaledByTheirLevel) {
    EXPECT_EQ(
        render(u"x\n# A\n## B\n### C\ny"_qs),
        text({plain(u"x\n\n"_qs), heading(u"A"_qs, 1.5, Weight::heavy), plain(u"\n\n"_qs),
              heading(u"B"_qs, 1.28), plain(u"\n"_qs), heading(u"C"_qs, 1.12), plain(u"\ny"_qs)}));
    EXPECT_EQ(rendered(u"### C"_qs, 20).runs.front().pointSize, 20 * 1.12);
}

TEST(LeetCodeSolutionRenderer, SecondTitleIsAHeading) {
    EXPECT_EQ(render(u"# T\nbody\n# Second"_qs),
              text({plain(u"body\n\n"_qs), heading(u"Second"_qs, 1.5, Weight::heavy)}));
    EXPECT_EQ(render(u"# T\n# Second\nbody"_qs),
              text({heading(u"Second"_qs, 1.5, Weight::heavy), plain(u"\nbody"_qs)}))
        << "the first heading starts no section of its own";
}

TEST(LeetCodeSolutionRenderer, TitleIsDroppedBehindStatusLinesAndCodeOnly) {
    EXPECT_EQ(shown(u"**Status:** x\n# T\nbody"_qs), u"body"_qs);
    EXPECT_EQ(shown(u"```\ncode\n```\n# T\nbody"_qs), u"body"_qs);
    EXPECT_EQ(shown(u"```\n# comment\n```\n# T\nbody"_qs), u"body"_qs)
        << "a comment in code is no title";
    EXPECT_EQ(shown(u"\n## H\n```\ncode\n```\n# T\nbody"_qs), u"body"_qs)
        << "the fence emptied what was held back";
    EXPECT_EQ(shown(u"body\n# T"_qs), u"body\n\nT"_qs);
    EXPECT_EQ(shown(u"## H\n# T"_qs), u"H\n\nT"_qs);
}

TEST(LeetCodeSolutionRenderer, TitleBehindABlankLineStays) {
    const QString document = u"\n# Title\nBody"_qs;
    EXPECT_EQ(render(document),
              text({heading(u"Title"_qs, 1.5, Weight::heavy), plain(u"\nBody"_qs)}));
    EXPECT_EQ(leadingTitle(document), u"Title"_qs);
}

TEST(LeetCodeSolutionRenderer, EveryStatusLineIsDropped) {
    EXPECT_EQ(shown(u"a\n**Status:** x\nb\n**Status:**\n**Status:**y"_qs), u"a\nb"_qs);
    EXPECT_EQ(shown(u" **Status:** x"_qs), u" Status: x"_qs);
    EXPECT_EQ(shown(u"**Status**: x"_qs), u"Status: x"_qs);
    EXPECT_EQ(shown(u"**status:** x"_qs), u"status: x"_qs);
}

TEST(LeetCodeSolutionRenderer, BulletsNeedTheirMarkAndABlankAtTheStart) {
    EXPECT_EQ(shown(u"- one\n* two"_qs), u"\u2022\u00A0one\n\u2022\u00A0two"_qs);
    EXPECT_EQ(shown(u"-   wide"_qs), u"\u2022\u00A0  wide"_qs);
    EXPECT_EQ(shown(u"- "_qs), u"\u2022\u00A0"_qs);
    EXPECT_EQ(shown(u"  - item"_qs), u"  - item"_qs);
    EXPECT_EQ(shown(u"-item"_qs), u"-item"_qs);
    EXPECT_EQ(shown(u"+ item"_qs), u"+ item"_qs);
    EXPECT_EQ(shown(u"1. item"_qs), u"1. item"_qs);
    EXPECT_EQ(shown(u"- - x"_qs), u"\u2022\u00A0- x"_qs);
}

TEST(LeetCodeSolutionRenderer, BulletKeepsTheMarkupOfItsText) {
    EXPECT_EQ(render(u"* **Time:** `O(n)`"_qs),
              text({plain(u"\u2022\u00A0"_qs), StyledRun{.text = u"Time:"_qs, .isStrong = true},
                    plain(u" "_qs), StyledRun{.text = u"O(n)"_qs, .isCode = true}}));
}

TEST(LeetCodeSolutionRenderer, HeadingKeepsTheMarkupOfItsText) {
    StyledRun code = heading(u"map"_qs, 1.28);
    code.isCode = true;
    EXPECT_EQ(render(u"## Use `map` #"_qs),
              text({heading(u"Use "_qs, 1.28), code, heading(u" #"_qs, 1.28)}));
}

TEST(LeetCodeSolutionRenderer, HeadingNeedsItsHashesAtTheStartAndABlank) {
    for (const QString& line : {u" ## H"_qs, u"##H"_qs, u"#### H"_qs, u"\t# H"_qs, u"##"_qs}) {
        EXPECT_EQ(render(line), text({plain(line)})) << line.toStdString();
    }
}

TEST(LeetCodeSolutionRenderer, LinkIsItsText) {
    EXPECT_EQ(render(u"[x](y)"_qs), text({plain(u"x"_qs)}));
}

TEST(LeetCodeSolutionRenderer, OpenFenceHidesAllThatFollows) {
    EXPECT_EQ(shown(u"a\n```\nb"_qs), u"a"_qs);
    EXPECT_EQ(shown(u"a\n\n## H\n```cpp\n# b\n\n- c\n**Status:** d"_qs), u"a"_qs);
    EXPECT_EQ(shown(u"a\n```"_qs), u"a"_qs);
}

TEST(LeetCodeSolutionRenderer, FenceIsThreeBackticksAtTheStart) {
    EXPECT_EQ(shown(u"````\nx\n```` tail\na"_qs), u"a"_qs);
    EXPECT_EQ(shown(u"```one line```\nhidden\n```\na"_qs), u"a"_qs);
    EXPECT_EQ(shown(u" ```\na"_qs), u" ```\na"_qs);
    EXPECT_EQ(shown(u"~~~\na"_qs), u"~~~\na"_qs);
    EXPECT_EQ(shown(u"``\na"_qs), u"``\na"_qs);
}

TEST(LeetCodeSolutionRenderer, OnlyAnOpeningFenceDropsWhatIsHeldBack) {
    EXPECT_EQ(shown(u"a\n\n```\nx\n```\n\n\nb"_qs), u"a\n\n\nb"_qs);
    EXPECT_EQ(shown(u"a\n## H\nb\n```\nx\n```"_qs), u"a\n\nH\nb"_qs);
    EXPECT_EQ(shown(u"## One\n## Two\n\n```\nx\n```\nb"_qs), u"b"_qs);
}

TEST(LeetCodeSolutionRenderer, TrailingBlankLinesVanish) {
    EXPECT_EQ(shown(u"a\n\n\n"_qs), u"a"_qs);
    EXPECT_EQ(shown(u"a\n  \n\n"_qs), u"a\n  "_qs) << "a line of blanks is a body line";
}

TEST(LeetCodeSolutionRenderer, LastHeadingStaysWithTheBlanksAroundIt) {
    EXPECT_EQ(shown(u"a\n\n### H"_qs), u"a\n\nH"_qs);
    EXPECT_EQ(shown(u"a\n\n### H\n\n"_qs), u"a\n\nH\n\n"_qs);
    EXPECT_EQ(shown(u"a\n## H\n"_qs), u"a\n\nH\n"_qs);
}

TEST(LeetCodeSolutionRenderer, LeadingEmptyLinesVanish) {
    EXPECT_EQ(shown(u"\n\n\na\n\nb"_qs), u"a\n\nb"_qs);
    EXPECT_EQ(shown(u"## \n![](x)\na"_qs), u"a"_qs) << "blocks without a character go too";
    EXPECT_EQ(shown(u"   \na"_qs), u"   \na"_qs);
}

TEST(LeetCodeSolutionRenderer, EveryKindOfLineEndSeparatesLines) {
    EXPECT_EQ(shown(u"# T\r\na\rb\nc\r\n\r\n\rd"_qs), u"a\nb\nc\n\n\nd"_qs);
    EXPECT_EQ(shown(u"a\u2028# b"_qs), u"a\u2028# b"_qs);
}

TEST(LeetCodeSolutionRenderer, NothingReadableIsAnEmptyText) {
    for (const QString& document :
         {QString(), u"\n\n"_qs, u"# T"_qs, u"```\ncode\n```"_qs,
          u"# T\n**Status:** x\n\n```\nc"_qs, u"## \n"_qs, u"## H\n```\ncode\n```\n\n"_qs}) {
        EXPECT_EQ(shown(document).trimmed(), QString()) << document.toStdString();
    }
    EXPECT_TRUE(render(u"```\ncode\n```"_qs).isEmpty());
    EXPECT_TRUE(render(QString()).isEmpty());
}

TEST(LeetCodeSolutionRenderer, LinesOfOneStyleShareARun) {
    EXPECT_EQ(render(u"a\nb\n\nc"_qs).runs.size(), 1U);
    EXPECT_EQ(rendered(u"word\n"_qs.repeated(8'000), baseSize).runs.size(), 1U);
}

TEST(LeetCodeSolutionRenderer, ManyHeldBackLinesComeThroughOnce) {
    const QString headings = u"### H\n\n"_qs.repeated(10'000);
    EXPECT_EQ(shown(headings + u"x"_qs), u"H\n\n"_qs.repeated(10'000) + u"x"_qs);
    EXPECT_EQ(shown(headings + u"```"_qs), QString());
    EXPECT_EQ(shown(u"```\n"_qs.repeated(20'000) + u"x"_qs), u"x"_qs);
}

TEST(LeetCodeSolutionRenderer, TextNeverHasMoreThanItsDocument) {
    const std::array lines{
        u"# A"_qs,        u"## B"_qs,          u"### C"_qs,  u""_qs,
        u"  "_qs,         u"```"_qs,           u"```cpp"_qs, u"- x"_qs,
        u"* y"_qs,        u"**Status:** z"_qs, u"body"_qs,   u"**b** `c`"_qs,
        u"*"_qs,          u"&#10;"_qs,         u"## "_qs,    QString(QChar(0xD800)),
        u"- &NewLine;"_qs};
    const std::array ends{u"\n"_qs, u"\r\n"_qs, u"\r"_qs};
    std::mt19937 random(4);
    for (int round = 0; round < 20'000; ++round) {
        QString document;
        qsizetype sections = 0;
        qsizetype count = 1;
        for (auto left = random() % 20; left > 0; --left, ++count) {
            const QString& line = lines[random() % lines.size()];
            sections += line.startsWith(u"# ") || line.startsWith(u"## ") ? 1 : 0;
            document += line + ends[random() % ends.size()];
        }
        const QString result = shown(document);
        ASSERT_LE(result.size(), document.size()) << document.toStdString();
        ASSERT_LT(result.count(u'\n'), count + sections) << document.toStdString();
        ASSERT_FALSE(result.contains(u'\r')) << document.toStdString();
        ASSERT_FALSE(result.contains(u"```")) << document.toStdString();
    }
}

TEST(LeetCodeSolutionRenderer, ArbitraryTextIsSurvived) {
    std::mt19937 random(11);
    for (int round = 0; round < 3'000; ++round) {
        QString document;
        for (auto count = random() % 200; count > 0; --count) {
            document +=
                random() % 4 == 0 ? QChar(char16_t(random())) : QChar(char16_t(9 + random() % 118));
        }
        ASSERT_TRUE(shown(document).isValidUtf16());
        leadingTitle(document);
    }
}

TEST(LeetCodeLeadingTitle, IsTheFirstLineWithAnyContent) {
    EXPECT_EQ(leadingTitle(u"# Two Sum\nx"_qs), u"Two Sum"_qs);
    EXPECT_EQ(leadingTitle(u"\n\n# T"_qs), u"T"_qs);
    EXPECT_EQ(leadingTitle(u" \t\u00A0\u3000\r\n# T\r\nx"_qs), u"T"_qs);
    EXPECT_EQ(leadingTitle(u"# "_qs), QString(u""_qs));
    EXPECT_TRUE(leadingTitle(u"# "_qs).has_value());
    EXPECT_EQ(leadingTitle(u"#  T "_qs), u" T "_qs);
    EXPECT_EQ(leadingTitle(u"# **T**"_qs), u"**T**"_qs);
}

TEST(LeetCodeLeadingTitle, AnythingElseInFrontEndsTheSearch) {
    EXPECT_EQ(leadingTitle(u"x\n# T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(u"#T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(u"## S\n# T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(u" # T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(u"**Status:** x\n# T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(QString()), std::nullopt);
    EXPECT_EQ(leadingTitle(u"\n \n"_qs), std::nullopt);
}

TEST(LeetCodeLeadingTitle, LoneCarriageReturnIsPartOfItsLine) {
    EXPECT_EQ(leadingTitle(u"# T\rx"_qs), u"T\rx"_qs);
    EXPECT_EQ(leadingTitle(u"\r\n\r# T"_qs), std::nullopt);
    EXPECT_EQ(leadingTitle(u"\r\n# T"_qs), u"T"_qs);
    EXPECT_EQ(leadingTitle(u"\u000C\n# T"_qs), std::nullopt);
}

} // namespace lumivane
