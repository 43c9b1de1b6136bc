#include "accounts/DeviceMetadata.h"

#include "accounts/DeviceRegistration.h"
#include "domain/Characters.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivane {

using DeviceMetadata::kind;
using DeviceMetadata::osVersion;
using DeviceMetadata::sanitizeName;

namespace {

const auto withBattery = [] { return true; };
const auto withoutBattery = [] { return false; };

bool mustNotBeAsked() {
    ADD_FAILURE() << "the battery was asked for";
    return false;
}

const QString family =
    u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_qs; // 7 scalars

} // namespace

TEST(DeviceName, WhiteSpaceAndControlsBecomeSingleBlanks) {
    EXPECT_EQ(sanitizeName(u"Studio\nMac\t Pro"_qs), u"Studio Mac Pro");
    EXPECT_EQ(sanitizeName(u"  a \u00A0\u2003\u3000 b\u2028c  "_qs), u"a b c");
    EXPECT_EQ(sanitizeName(u"a"_qs + QChar(0) + u"b\u001B[31mc\u007Fd\u0085e\u009Ff"_qs),
              u"a b [31mc d e f");
    EXPECT_EQ(sanitizeName(u"\u0007bell"_qs), u"bell");
}

TEST(DeviceName, WithNothingLeftItIsTheFallback) {
    EXPECT_EQ(sanitizeName(std::nullopt), u"Mac");
    EXPECT_EQ(sanitizeName(QString()), u"Mac");
    EXPECT_EQ(sanitizeName(u" \t\n\u0001\u009F\u00A0 "_qs), u"Mac");
}

TEST(DeviceName, AnOrdinaryNameStaysAsItIs) {
    EXPECT_EQ(sanitizeName(u"Jörg’s 電腦 (work)"_qs), u"Jörg’s 電腦 (work)");
}

TEST(DeviceName, AtMostSixtyScalarsAreKept) {
    EXPECT_EQ(sanitizeName(QString(60, u'a')), QString(60, u'a'));
    EXPECT_EQ(sanitizeName(QString(61, u'a')), QString(60, u'a'));
    EXPECT_EQ(sanitizeName(QString(100000, u'a')), QString(60, u'a'));
    // Scalars, not code units.
    EXPECT_EQ(sanitizeName(u"\U0001F600"_qs.repeated(61)), u"\U0001F600"_qs.repeated(60));
}

TEST(DeviceName, ABlankAtTheCutGoes) {
    EXPECT_EQ(sanitizeName(QString(59, u'a') + u" b"_qs), QString(59, u'a'));
}

TEST(DeviceName, ACharacterIsNeverCut) {
    // 58 and a letter with two marks would be 61.
    const QString marked = u"e\u0301\u0323"_qs;
    EXPECT_EQ(sanitizeName(QString(58, u'a') + marked), QString(58, u'a'));
    EXPECT_EQ(sanitizeName(QString(57, u'a') + marked), QString(57, u'a') + marked);
    // What would fit behind one that does not fit is not taken either.
    EXPECT_EQ(sanitizeName(QString(58, u'a') + marked + u'b'), QString(58, u'a'));
}

TEST(DeviceName, JoinedEmojiSurvive) {
    EXPECT_EQ(sanitizeName(family), family);
    // 8 of them are 56 scalars, a ninth would make it 63.
    EXPECT_EQ(sanitizeName(family.repeated(9)), family.repeated(8));
    const QString flag = u"\U0001F1E9\U0001F1EA"_qs;
    EXPECT_EQ(sanitizeName(u'a' + flag.repeated(30)), u'a' + flag.repeated(29));
    // Format characters are no controls.
    EXPECT_EQ(sanitizeName(u"a\u200Bb\u200E\u00ADc"_qs), u"a\u200Bb\u200E\u00ADc");
}

TEST(DeviceName, OneCharacterThatIsTooLongIsNoName) {
    EXPECT_EQ(sanitizeName(u'a' + QString(60, QChar(0x0301))), u"Mac");
    EXPECT_EQ(sanitizeName(u'a' + QString(59, QChar(0x0301))), u'a' + QString(59, QChar(0x0301)));
}

TEST(DeviceKind, TheModelSaysItWhereItCan) {
    for (const auto* model :
         {"MacBook10,1", "MacBookPro18,3", "MacBookAir10,1", "MacBook", " \tMacBookPro18,3\n"}) {
        EXPECT_EQ(kind(QString::fromLatin1(model), mustNotBeAsked), DeviceKind::laptop) << model;
    }
    for (const auto* model :
         {"iMac21,1", "iMacPro1,1", "Macmini9,1", "MacPro7,1", "MacStudio1,1", "\niMac21,1 "}) {
        EXPECT_EQ(kind(QString::fromLatin1(model), mustNotBeAsked), DeviceKind::desktop) << model;
    }
}

TEST(DeviceKind, OtherwiseTheBatterySaysIt) {
    EXPECT_EQ(kind(u"Mac14,13"_qs, withoutBattery), DeviceKind::desktop);
    EXPECT_EQ(kind(u"Mac14,7"_qs, withBattery), DeviceKind::laptop);
    EXPECT_EQ(kind(std::nullopt, withoutBattery), DeviceKind::desktop);
    EXPECT_EQ(kind(std::nullopt, withBattery), DeviceKind::laptop);
    EXPECT_EQ(kind(QString(), withBattery), DeviceKind::laptop);
    EXPECT_EQ(kind(u" \n"_qs, withoutBattery), DeviceKind::desktop);
    EXPECT_EQ(kind(u"20XW005PUS"_qs, withBattery), DeviceKind::laptop);
}

TEST(DeviceKind, APrefixIsOneToTheLetter) {
    for (const auto* model : {"macbookpro18,3", "xMacBook", "IMac21,1", "MacMini9,1"}) {
        EXPECT_EQ(kind(QString::fromLatin1(model), withBattery), DeviceKind::laptop) << model;
        EXPECT_EQ(kind(QString::fromLatin1(model), withoutBattery), DeviceKind::desktop) << model;
    }
}

TEST(DeviceOSVersion, NameMajorAndMinor) {
    EXPECT_EQ(osVersion({u"macOS"_qs, u"15"_qs, u"2"_qs}), u"macOS 15.2");
    EXPECT_EQ(osVersion({u"macOS"_qs, u"15"_qs, u"0"_qs}), u"macOS 15.0");
    EXPECT_EQ(osVersion({u"Ubuntu"_qs, u"22"_qs, u"04"_qs}), u"Ubuntu 22.04");
    EXPECT_EQ(osVersion({u"Debian GNU/Linux"_qs, u"12"_qs, QString()}), u"Debian GNU/Linux 12.0");
}

TEST(DeviceOSVersion, WhatIsNoNumberCountsAsZero) {
    EXPECT_EQ(osVersion({u"X"_qs, QString(), QString()}), u"X 0.0");
    EXPECT_EQ(osVersion({u"X"_qs, u"sid"_qs, u"-1"_qs}), u"X 0.0");
    EXPECT_EQ(osVersion({u"X"_qs, u"\u0663"_qs, u"1 "_qs}), u"X 0.0");
    EXPECT_EQ(osVersion({u"X"_qs, u"123456"_qs, u"1234567"_qs}), u"X 123456.0");
}

TEST(DeviceOSVersion, TheNameIsOneCleanLine) {
    EXPECT_EQ(osVersion({u" My\n\tLinux\u0007 "_qs, u"1"_qs, u"2"_qs}), u"My Linux 1.2");
    EXPECT_EQ(osVersion({u" \n"_qs, u"1"_qs, u"2"_qs}), u"1.2");
}

TEST(DeviceOSVersion, ALongNameIsCutAndTheVersionIsWhole) {
    EXPECT_EQ(osVersion({QString(28, u'a'), u"1"_qs, u"2"_qs}), QString(28, u'a') + u" 1.2"_qs);
    EXPECT_EQ(osVersion({QString(29, u'a'), u"1"_qs, u"2"_qs}), QString(28, u'a') + u" 1.2"_qs);
    EXPECT_EQ(osVersion({u"Red Hat Enterprise Linux Server"_qs, u"7"_qs, u"9"_qs}),
              u"Red Hat Enterprise Linux Ser 7.9");
    const QString emoji = osVersion({family.repeated(9), u"10"_qs, u"10"_qs});
    EXPECT_EQ(emoji, family.repeated(3) + u" 10.10"_qs);
    EXPECT_LE(scalarCount(emoji), 32);
}

class DeviceRegistrationTest : public testing::Test {
protected:
    DeviceRegistration registration{.identifier = QString(36, u'A'),
                                    .name = u"Studio"_qs,
                                    .kind = DeviceKind::laptop,
                                    .osVersion = u"macOS 15.2"_qs};
};

TEST_F(DeviceRegistrationTest, IsCompleteWithEveryFieldInItsBounds) {
    EXPECT_TRUE(registration.isComplete());
    EXPECT_FALSE(DeviceRegistration().isComplete());
}

TEST_F(DeviceRegistrationTest, TheIdentifierHasSixteenToSixtyFourCharacters) {
    for (const auto& [length, isComplete] :
         {std::pair{0, false}, std::pair{15, false}, std::pair{16, true}, std::pair{64, true},
          std::pair{65, false}}) {
        registration.identifier = QString(length, u'x');
        EXPECT_EQ(registration.isComplete(), isComplete) << length;
    }
    // Characters, not scalars.
    registration.identifier = family.repeated(16);
    EXPECT_TRUE(registration.isComplete());
    registration.identifier = family.repeated(15);
    EXPECT_FALSE(registration.isComplete());
}

TEST_F(DeviceRegistrationTest, TheNameHasOneToSixtyScalars) {
    for (const auto& [length, isComplete] :
         {std::pair{0, false}, std::pair{1, true}, std::pair{60, true}, std::pair{61, false}}) {
        registration.name = u"\U0001F600"_qs.repeated(length);
        EXPECT_EQ(registration.isComplete(), isComplete) << length;
    }
}

TEST_F(DeviceRegistrationTest, TheKindIsKnown) {
    for (const DeviceKind known :
         {DeviceKind::laptop, DeviceKind::desktop, DeviceKind::phone, DeviceKind::tablet}) {
        registration.kind = known;
        EXPECT_TRUE(registration.isComplete());
    }
    registration.kind = DeviceKind::unknown;
    EXPECT_FALSE(registration.isComplete());
}

TEST_F(DeviceRegistrationTest, TheVersionHasOneToThirtyTwoScalars) {
    for (const auto& [length, isComplete] :
         {std::pair{0, false}, std::pair{1, true}, std::pair{32, true}, std::pair{33, false}}) {
        registration.osVersion = u"\U0001F600"_qs.repeated(length);
        EXPECT_EQ(registration.isComplete(), isComplete) << length;
    }
}

} // namespace lumivane
