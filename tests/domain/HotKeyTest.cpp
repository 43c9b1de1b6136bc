#include "domain/HotKey.h"

#include "domain/SettingsValidationError.h"

#include <QString>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

void expectRefused(const QString& text) {
    try {
        const HotKey parsed = HotKey::parse(text);
        ADD_FAILURE() << text.toStdString() << " parsed as " << parsed.displayValue().toStdString();
    } catch (const SettingsValidationError& error) {
        EXPECT_EQ(error.errorCase, SettingsValidationError::Case::invalidHotKey);
    }
}

} // namespace

TEST(HotKey, DefaultValueIsNotThatOfANewInstallation) {
    EXPECT_EQ(HotKey::defaultValue(), (HotKey{true, true, true, false, u"S"_qs}));
    EXPECT_EQ(HotKey::defaultValue().displayValue(), u"cmd+alt+ctrl+S");
}

TEST(HotKey, DisplayValueNamesSetModifiersInTheirOrder) {
    EXPECT_EQ((HotKey{true, true, false, false, u"E"_qs}).displayValue(), u"cmd+alt+E");
    EXPECT_EQ((HotKey{false, false, true, true, u"9"_qs}).displayValue(), u"ctrl+shift+9");
    EXPECT_EQ((HotKey{true, true, true, true, u"x"_qs}).displayValue(), u"cmd+alt+ctrl+shift+X");
}

TEST(HotKey, DisplayValueWithoutFlagsIsTheKeyAloneAndDoesNotParse) {
    const HotKey bare{.key = u"s"_qs};
    EXPECT_EQ(bare.displayValue(), u"S");
    expectRefused(bare.displayValue());
}

TEST(HotKey, ParsingIsTheInverseOfDisplaying) {
    for (int flags = 1; flags < 16; ++flags) {
        const HotKey hotKey{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0, (flags & 8) != 0,
                            u"Q"_qs};
        EXPECT_EQ(HotKey::parse(hotKey.displayValue()), hotKey);
    }
}

TEST(HotKey, ParsingHasNoRegardToCase) {
    const HotKey expected{true, true, false, false, u"E"_qs};
    EXPECT_EQ(HotKey::parse(u"CMD+Alt+e"_qs), expected);
    EXPECT_EQ(HotKey::parse(u"cmd+alt+E"_qs), expected);
}

TEST(HotKey, BothNamesOfEachModifierAreKnown) {
    EXPECT_EQ(HotKey::parse(u"command+option+control+shift+a"_qs),
              (HotKey{true, true, true, true, u"A"_qs}));
    EXPECT_EQ(HotKey::parse(u"cmd+alt+ctrl+shift+a"_qs), (HotKey{true, true, true, true, u"A"_qs}));
}

TEST(HotKey, TheOrderOfModifiersDoesNotMatterAndARepeatIsHarmless) {
    EXPECT_EQ(HotKey::parse(u"shift+cmd+a"_qs), (HotKey{true, false, false, true, u"A"_qs}));
    EXPECT_EQ(HotKey::parse(u"cmd+command+cmd+a"_qs), (HotKey{true, false, false, false, u"A"_qs}));
}

TEST(HotKey, ShiftAloneIsAModifier) {
    EXPECT_EQ(HotKey::parse(u"shift+a"_qs), (HotKey{false, false, false, true, u"A"_qs}));
}

TEST(HotKey, EmptyPiecesAreDropped) {
    EXPECT_EQ(HotKey::parse(u"cmd++s"_qs), (HotKey{true, false, false, false, u"S"_qs}));
    EXPECT_EQ(HotKey::parse(u"+cmd+ +s+"_qs), (HotKey{true, false, false, false, u"S"_qs}));
}

TEST(HotKey, WhiteSpaceAndLineBreaksAroundPiecesAreTrimmed) {
    const HotKey expected{true, true, false, false, u"E"_qs};
    EXPECT_EQ(HotKey::parse(u" cmd + alt + e "_qs), expected);
    EXPECT_EQ(HotKey::parse(u"\tcmd\n+\r\nalt+\u2028e\u00A0"_qs), expected);
}

TEST(HotKey, FewerThanTwoPiecesAreRefused) {
    for (const auto& text :
         {u""_qs, u"s"_qs, u"cmd+"_qs, u"+"_qs, u"+++"_qs, u" + "_qs, u"cmd"_qs, u"+ s"_qs}) {
        expectRefused(text);
    }
}

TEST(HotKey, TheKeyIsOneLetterOrNumber) {
    for (const auto& text : {u"cmd+alt+ee"_qs, u"cmd+alt+-"_qs, u"cmd+,"_qs, u"cmd+€"_qs,
                             u"cmd+\U0001F600"_qs, u"cmd+\u0301"_qs, u"cmd+_"_qs, u"cmd+f1"_qs}) {
        expectRefused(text);
    }
    EXPECT_EQ(HotKey::parse(u"cmd+1"_qs).key, u"1");
}

TEST(HotKey, AKeyMayBeAnyLetterOrNumberOfUnicode) {
    EXPECT_EQ(HotKey::parse(u"cmd+é"_qs).key, u"É");
    EXPECT_EQ(HotKey::parse(u"cmd+ж"_qs).key, u"Ж");
    EXPECT_EQ(HotKey::parse(u"cmd+あ"_qs).key, u"あ");
    EXPECT_EQ(HotKey::parse(u"cmd+٣"_qs).key, u"٣");                   // a digit
    EXPECT_EQ(HotKey::parse(u"cmd+Ⅷ"_qs).key, u"Ⅷ");                   // a letter number
    EXPECT_EQ(HotKey::parse(u"cmd+½"_qs).key, u"½");                   // another number
    EXPECT_EQ(HotKey::parse(u"cmd+\U00010428"_qs).key, u"\U00010400"); // beyond 16 bits
}

TEST(HotKey, TheKeyIsCountedInCharactersNotInCodeUnits) {
    EXPECT_EQ(HotKey::parse(u"cmd+e\u0301"_qs).key, u"E\u0301");
}

TEST(HotKey, ALetterThatBecomesTwoInUpperCaseIsRefused) { expectRefused(u"cmd+ß"_qs); }

TEST(HotKey, AnUnknownModifierIsRefusedWhereverItStands) {
    for (const auto& text : {u"hyper+e"_qs, u"cmd+hyper+e"_qs, u"hyper+cmd+e"_qs, u"a+b"_qs,
                             u"super+e"_qs, u"cmd alt+e"_qs}) {
        expectRefused(text);
    }
}

TEST(HotKey, EqualityIsByExactText) {
    EXPECT_NE((HotKey{.command = true, .key = u"e"_qs}), (HotKey{.command = true, .key = u"E"_qs}));
    EXPECT_NE((HotKey{.command = true, .key = u"\u00E9"_qs}),
              (HotKey{.command = true, .key = u"e\u0301"_qs}));
    const HotKey base{.key = u"A"_qs};
    EXPECT_NE(base, (HotKey{.command = true, .key = u"A"_qs}));
    EXPECT_NE(base, (HotKey{.option = true, .key = u"A"_qs}));
    EXPECT_NE(base, (HotKey{.control = true, .key = u"A"_qs}));
    EXPECT_NE(base, (HotKey{.shift = true, .key = u"A"_qs}));
}

} // namespace lumivane
