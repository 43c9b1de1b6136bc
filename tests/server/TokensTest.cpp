#include "server/accounts/Tokens.h"

#include "server/AccountFixture.h"

#include <algorithm>
#include <set>

namespace lumivane::service::test {

namespace {

using Purpose = TokenDerivation::Purpose;

bool isBase64Url(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '-' ||
               character == '_';
    });
}

class TokenDerivationTest : public StoreTest {};

INSTANTIATE_TEST_SUITE_P(Engines, TokenDerivationTest, everyEngine(), engineName);

} // namespace

TEST(Tokens, AreLongOfTheUrlAlphabetAndNeverTwiceTheSame) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string token = makeToken();
        ASSERT_EQ(token.size(), tokenLength);
        ASSERT_TRUE(isBase64Url(token)) << token;
        seen.insert(token);
        seen.insert(makeIdentifier());
    }
    EXPECT_EQ(seen.size(), 2000U);
    EXPECT_EQ(makeIdentifier().size(), 22U);
}

TEST(Tokens, HashIsTheHexadecimalDigest) {
    EXPECT_EQ(tokenHash("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(tokenHash(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(Tokens, Base64UrlHasNoPaddingAndBothSpecialCharacters) {
    EXPECT_EQ(base64Url(""), "");
    EXPECT_EQ(base64Url("f"), "Zg");
    EXPECT_EQ(base64Url("fo"), "Zm8");
    EXPECT_EQ(base64Url("foo"), "Zm9v");
    EXPECT_EQ(base64Url("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64Url("\xfb\xff\xbf"), "-_-_");
    EXPECT_EQ(base64Url(std::string(3, '\0')), "AAAA");
}

TEST(Tokens, DerivedOnesFollowFromEverythingThatWentIn) {
    const TokenDerivation derivation("pepper");
    const std::string token = derivation.derive(Purpose::access, "secret", "operation");

    // HMAC-SHA-256 of "access\0secret\0operation" under "pepper".
    EXPECT_EQ(token, "KnlzkBunaZZ4nm36y1trZJsyX9EqR0yTFe9fKKAaxts");
    EXPECT_EQ(token.size(), tokenLength);
    EXPECT_EQ(derivation.derive(Purpose::access, "secret", "operation"), token);
    EXPECT_NE(derivation.derive(Purpose::refresh, "secret", "operation"), token);
    EXPECT_NE(derivation.derive(Purpose::access, "secret2", "operation"), token);
    EXPECT_NE(derivation.derive(Purpose::access, "secret", "operation2"), token);
    EXPECT_NE(TokenDerivation("other").derive(Purpose::access, "secret", "operation"), token);
    EXPECT_NE(derivation.derive(Purpose::access, "secreto", "peration"), token);
}

TEST_P(TokenDerivationTest, ReplicasShareOneKeyThatOutlivesThem) {
    const auto another = store().openAnother();
    const auto derive = [](Database& database) {
        return TokenDerivation::load(database).derive(Purpose::refresh, "a", "b");
    };

    EXPECT_EQ(derive(database()), derive(*another));
    EXPECT_EQ(derive(*store().openAnother()), derive(database()));
    EXPECT_EQ(store().number("SELECT LENGTH(value) FROM service_secrets"), 64);
}

} // namespace lumivane::service::test
