#include "domain/LumivaneError.h"

#include "domain/SettingsValidationError.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace lumivane {

using Case = LumivaneError::Case;

TEST(LumivaneError, HasExactlyTheseWords) {
    const struct {
        Case errorCase;
        const char16_t* words;
    } rows[] = {
        {Case::serviceUnavailable, u"The local Lumivane service is unavailable. Start Docker with "
                                   u"make local-up and try again."},
        {Case::invalidResponse, u"The Lumivane service returned an invalid response."},
        {Case::authenticationRequired, u"Log in to Lumivane to continue."},
        {Case::screenRecordingDenied, u"Allow Lumivane under System Settings \u2192 Privacy & "
                                      u"Security \u2192 Screen Recording."},
        {Case::displayUnavailable, u"The display under the pointer is unavailable."},
        {Case::captureFailed, u"Lumivane could not capture the selected display."},
        {Case::leetCodeTextUnavailable,
         u"Lumivane could not read any text on that screen. LeetCode needs the question itself as "
         u"well as the screenshot \u2014 bring the full problem statement into view and try "
         u"again."},
        {Case::leetCodeMemoryUnavailable,
         u"LeetCode is not available right now. The local service is running but reported that "
         u"its practice memory is not loaded \u2014 rebuild it with make local-up, then try "
         u"again."},
        {Case::deviceEvicted, u"You signed in on another Mac. Lumivane is signed in there now."},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(LumivaneError(row.errorCase).errorDescription(), QString::fromUtf16(row.words));
    }
}

TEST(LumivaneError, CasesStandInTheirOrder) {
    EXPECT_EQ(static_cast<int>(Case::server), 0);
    EXPECT_EQ(static_cast<int>(Case::serviceUnavailable), 1);
    EXPECT_EQ(static_cast<int>(Case::captureFailed), 6);
    EXPECT_EQ(static_cast<int>(Case::deviceEvicted), 9);
}

TEST(LumivaneError, AServerErrorShowsItsOwnTextSanitized) {
    EXPECT_EQ(LumivaneError::server(u"Too much text."_qs).errorDescription(), u"Too much text.");
    EXPECT_EQ(LumivaneError::server(u"key sk-abc_123 rejected"_qs).errorDescription(),
              u"key [REDACTED] rejected");
    EXPECT_EQ(LumivaneError::server(u""_qs).errorDescription(), u"");
}

TEST(LumivaneError, ServerErrorsCompareByTextAndOthersByCase) {
    EXPECT_EQ(LumivaneError::server(u"a"_qs), LumivaneError::server(u"a"_qs));
    EXPECT_FALSE(LumivaneError::server(u"a"_qs) == LumivaneError::server(u"b"_qs));
    EXPECT_EQ(LumivaneError(Case::captureFailed), LumivaneError(Case::captureFailed));
    EXPECT_FALSE(LumivaneError(Case::captureFailed) == LumivaneError(Case::invalidResponse));
    EXPECT_FALSE(LumivaneError::server(u""_qs) == LumivaneError(Case::invalidResponse));
}

TEST(Sanitize, RedactsKeysWhereverTheyStand) {
    EXPECT_EQ(LumivaneError::sanitize(u"key sk-abc_123 rejected"_qs), u"key [REDACTED] rejected");
    EXPECT_EQ(LumivaneError::sanitize(u"sk-A-b_9,sk-2."_qs), u"[REDACTED],[REDACTED].");
    EXPECT_EQ(LumivaneError::sanitize(u"a task-force and a risk-free desk"_qs),
              u"a ta[REDACTED] and a ri[REDACTED] desk");
}

TEST(Sanitize, LeavesWhatIsNoKey) {
    EXPECT_EQ(LumivaneError::sanitize(u"sk- and sk_abc and SK-abc"_qs),
              u"sk- and sk_abc and SK-abc");
}

TEST(Sanitize, RedactsBearerTokensAndKeepsTheWordAndItsWhiteSpace) {
    EXPECT_EQ(LumivaneError::sanitize(u"Authorization: Bearer abc.def"_qs),
              u"Authorization: Bearer [REDACTED]");
    EXPECT_EQ(LumivaneError::sanitize(u"BEARER \t\n a-b_c~d.e/f"_qs), u"BEARER \t\n [REDACTED]/f");
    EXPECT_EQ(LumivaneError::sanitize(u"bearer\u00A0abc"_qs), u"bearer\u00A0[REDACTED]");
    EXPECT_EQ(LumivaneError::sanitize(u"forbearer abc"_qs), u"forbearer [REDACTED]");
    EXPECT_EQ(LumivaneError::sanitize(u"bearer a, Bearer b"_qs),
              u"bearer [REDACTED], Bearer [REDACTED]");
}

TEST(Sanitize, LeavesWhatIsNoToken) {
    EXPECT_EQ(LumivaneError::sanitize(u"bearer"_qs), u"bearer");
    EXPECT_EQ(LumivaneError::sanitize(u"bearer: abc"_qs), u"bearer: abc");
    EXPECT_EQ(LumivaneError::sanitize(u"bearerabc"_qs), u"bearerabc");
}

TEST(Sanitize, AKeyBehindBearerIsRedactedOnce) {
    // The key goes first; what stands in its place is no token, since "[" is none of its letters.
    EXPECT_EQ(LumivaneError::sanitize(u"Bearer sk-abc"_qs), u"Bearer [REDACTED]");
}

TEST(Sanitize, KeepsThreeHundredCharacters) {
    const QString exact(300, u'x');
    EXPECT_EQ(LumivaneError::sanitize(exact), exact);
    EXPECT_EQ(LumivaneError::sanitize(exact + u'y'), exact);
}

TEST(Sanitize, CountsUserPerceivedCharacters) {
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_qs;
    EXPECT_EQ(LumivaneError::sanitize(family.repeated(301)), family.repeated(300));
    const QString accented = u"e\u0301"_qs;
    EXPECT_EQ(LumivaneError::sanitize(accented.repeated(300)), accented.repeated(300));
}

TEST(Sanitize, RedactsBeforeItCuts) {
    const QString text = QString(295, u'x') + u" sk-"_qs + QString(40, u'k') + u"tail"_qs;
    EXPECT_EQ(LumivaneError::sanitize(text), QString(295, u'x') + u" [RED"_qs);
    // A redaction that shortens brings text from behind the cut back into sight.
    const QString shortened = u"sk-"_qs + QString(400, u'k') + u" end"_qs;
    EXPECT_EQ(LumivaneError::sanitize(shortened), u"[REDACTED] end");
}

TEST(Sanitize, IsItsOwnFixedPoint) {
    for (const auto& text : {u"Bearer abc sk-def"_qs, QString(400, u'x'), u"plain"_qs, u""_qs}) {
        const QString once = LumivaneError::sanitize(text);
        EXPECT_EQ(LumivaneError::sanitize(once), once);
    }
}

TEST(Sanitize, BrokenTextHidesNoSecret) {
    const QString broken = QString(QChar(0xD800)) + u" Bearer abc sk-def"_qs;
    const QString safe = LumivaneError::sanitize(broken);
    EXPECT_TRUE(safe.endsWith(u" Bearer [REDACTED] [REDACTED]"));
    EXPECT_TRUE(safe.isValidUtf16());
}

TEST(LocalizedDescription, PrefersTheErrorsOwnWords) {
    EXPECT_EQ(localizedDescription(LumivaneError(Case::captureFailed)),
              u"Lumivane could not capture the selected display.");
    EXPECT_EQ(localizedDescription(
                  SettingsValidationError(SettingsValidationError::Case::missingCustomPrompt)),
              u"Enter a custom prompt.");
    EXPECT_EQ(localizedDescription(std::runtime_error("caf\xC3\xA9 closed")), u"caf\u00E9 closed");
}

TEST(ErrorTypeName, NamesTheDynamicTypeAndNeverTheText) {
    const LumivaneError error = LumivaneError::server(u"canary"_qs);
    const std::exception& base = error;
    EXPECT_EQ(errorTypeName(base), "LumivaneError");
    EXPECT_STREQ(base.what(), "LumivaneError");
    EXPECT_EQ(errorTypeName(std::runtime_error("canary")), "std::runtime_error");
    const std::string other = errorTypeName(std::runtime_error("canary"));
    EXPECT_NE(other.find("runtime_error"), std::string_view::npos);
    EXPECT_EQ(other.find("canary"), std::string_view::npos);
}

} // namespace lumivane
