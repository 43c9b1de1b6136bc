#include "accounts/HandleFormat.h"

#include "domain/ClosedSet.h"

#include <gtest/gtest.h>

#include <set>

namespace lumivane {

TEST(HandleFormat, NormalisingTrimsOnceAndThenDropsEveryLeadingAt) {
    EXPECT_EQ(HandleFormat::normalise(u"cedar"_qs), u"cedar");
    EXPECT_EQ(HandleFormat::normalise(u"@cedar"_qs), u"cedar");
    EXPECT_EQ(HandleFormat::normalise(u"  @@cedar "_qs), u"cedar");
    EXPECT_EQ(HandleFormat::normalise(u"@ cedar"_qs), u" cedar");
    EXPECT_EQ(HandleFormat::normalise(u"\t\n@cedar\u00a0\u2003\r\n"_qs), u"cedar");
    EXPECT_EQ(HandleFormat::normalise(u"ce@dar@"_qs), u"ce@dar@");
    EXPECT_EQ(HandleFormat::normalise(u"@@@"_qs), u"");
    EXPECT_EQ(HandleFormat::normalise(u" "_qs), u"");
    EXPECT_EQ(HandleFormat::normalise(QString()), u"");
    EXPECT_EQ(HandleFormat::normalise(u"Cedar"_qs), u"Cedar");
}

TEST(HandleFormat, FoldingIsLowerCase) {
    EXPECT_EQ(HandleFormat::fold(u"CeDaR-9_."_qs), u"cedar-9_.");
    EXPECT_EQ(HandleFormat::fold(u"\u00c9"_qs), u"\u00e9");
}

TEST(HandleFormat, LengthLiesBetween2And39) {
    EXPECT_FALSE(HandleFormat::isWellFormed(QString()));
    EXPECT_FALSE(HandleFormat::isWellFormed(u"a"_qs));
    EXPECT_TRUE(HandleFormat::isWellFormed(u"ab"_qs));
    EXPECT_TRUE(HandleFormat::isWellFormed(QString(39, u'a')));
    EXPECT_FALSE(HandleFormat::isWellFormed(QString(40, u'a')));
}

TEST(HandleFormat, OnlyLettersDigitsAndThreeMarksAreAllowedAnywhere) {
    for (char16_t unit = 0; unit < 0x250; ++unit) {
        const QString text = u"x"_qs + QChar(unit);
        const bool expected = (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') ||
                              (unit >= u'0' && unit <= u'9') || unit == u'.' || unit == u'_' ||
                              unit == u'-';
        EXPECT_EQ(HandleFormat::isWellFormed(text), expected) << static_cast<int>(unit);
    }
    for (const QString& text : {u"..."_qs, u"-_"_qs, u".a"_qs, u"a."_qs, u"00"_qs}) {
        EXPECT_TRUE(HandleFormat::isWellFormed(text));
    }
    for (const QString& text :
         {u" cedar"_qs, u"@cedar"_qs, u"caf\u00e9"_qs, u"\U0001F511\U0001F511"_qs, u"e\u0301a"_qs,
          u"\uff41\uff42"_qs, u"a\u200bb"_qs}) {
        EXPECT_FALSE(HandleFormat::isWellFormed(text));
    }
}

TEST(HandleFormat, FiftyOneWordsAreReservedInAnyCase) {
    const std::set<std::string> expected{
        "admin",     "administrator", "root",     "support",  "help",      "security",
        "abuse",     "api",           "www",      "mail",     "smtp",      "lumivane",
        "lumi-vane", "account",       "accounts", "settings", "login",     "logout",
        "signin",    "signup",        "oauth",    "auth",     "me",        "my",
        "system",    "staff",         "official", "null",     "undefined", "none",
        "anonymous", "user",          "users",    "device",   "devices",   "handle",
        "handles",   "profile",       "billing",  "payments", "privacy",   "terms",
        "legal",     "status",        "health",   "healthz",  "livez",     "docs",
        "blog",      "about",         "contact"};
    EXPECT_EQ(expected.size(), 51U);
    EXPECT_EQ(std::set<std::string>(HandleFormat::reserved.begin(), HandleFormat::reserved.end()),
              expected);
    for (const std::string& word : expected) {
        const QString text = QString::fromStdString(word);
        EXPECT_TRUE(HandleFormat::isReserved(text)) << word;
        EXPECT_TRUE(HandleFormat::isReserved(text.toUpper())) << word;
        EXPECT_FALSE(HandleFormat::isReserved(text + u'1')) << word;
        EXPECT_FALSE(HandleFormat::isReserved(u'@' + text)) << word;
    }
    EXPECT_FALSE(HandleFormat::isReserved(QString()));
}

} // namespace lumivane
