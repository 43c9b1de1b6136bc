#include "accounts/PKCE.h"

#include "accounts/AuthenticationError.h"
#include "support/FakeRandomSource.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace lumivane {

using test::FakeRandomSource;

TEST(PKCE, TheVerifierIsThirtyTwoBytesInBase64) {
    FakeRandomSource random;
    EXPECT_EQ(PKCE::makeVerifier(random).reveal(), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8");
    EXPECT_EQ(random.requestCount, 1);
}

TEST(PKCE, EveryVerifierIsOfFortyThreePlainCharacters) {
    FakeRandomSource random;
    const QRegularExpression plain(u"^[A-Za-z0-9_-]{43}$"_qs);
    for (int first = 0; first < 256; ++first) {
        random.next = static_cast<unsigned char>(first);
        const QString verifier = QString::fromLatin1(PKCE::makeVerifier(random).reveal());
        EXPECT_TRUE(plain.match(verifier).hasMatch()) << verifier.toStdString();
    }
}

TEST(PKCE, TwoVerifiersAreTwo) {
    FakeRandomSource random;
    const SecretText first = PKCE::makeVerifier(random);
    EXPECT_FALSE(PKCE::makeVerifier(random) == first);
}

TEST(PKCE, WithoutRandomBytesThereIsNoVerifier) {
    FakeRandomSource random;
    random.isEmpty = true;
    try {
        PKCE::makeVerifier(random);
        FAIL();
    } catch (const AuthenticationError& error) {
        EXPECT_EQ(error, AuthenticationError::Case::unavailable);
    }
}

TEST(PKCE, TheChallengeIsTheDigestOfTheVerifier) {
    // The example of RFC 7636, appendix B.
    EXPECT_EQ(PKCE::challenge(SecretText("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
              u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
    // SHA-256 of nothing.
    EXPECT_EQ(PKCE::challenge(SecretText()), u"47DEQpj8HBSa-_TImW-5JCeuQeRkm5NMpJWZG3hSuFU");
}

TEST(PKCE, Base64HasNoPaddingAndNothingThatAnAddressWouldEscape) {
    EXPECT_EQ(PKCE::base64URLEncodedString(QByteArray()), "");
    EXPECT_EQ(PKCE::base64URLEncodedString(QByteArray("\xFB\xEF\xFF", 3)), "--__");
    EXPECT_EQ(PKCE::base64URLEncodedString(QByteArray("\xFF\xFF", 2)), "__8");
    EXPECT_EQ(PKCE::base64URLEncodedString(QByteArray("\0", 1)), "AA");
}

} // namespace lumivane
