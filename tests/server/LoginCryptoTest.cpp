#include "server/login/LoginCrypto.h"

#include "server/accounts/Tokens.h"
#include "server/login/BrowserSecrets.h"
#include "server/login/Cookies.h"

#include <gtest/gtest.h>

#include <set>

namespace lumivane::service {

TEST(LoginCrypto, TheChallengeIsThatOfTheStandardsExample) {
    EXPECT_EQ(codeChallengeOf("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
              "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST(LoginCrypto, TheAuthenticationCodeIsThatOfTheStandardsExample) {
    EXPECT_EQ(hmacSha256Hex("Jefe", "what do ya want for nothing?"),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST(LoginCrypto, Base64UrlIsReadStrictly) {
    EXPECT_EQ(base64UrlDecode(""), "");
    EXPECT_EQ(base64UrlDecode("-_8"), "\xFB\xFF");
    EXPECT_EQ(base64UrlDecode(base64Url("any text")), "any text");
    EXPECT_FALSE(base64UrlDecode("A"));
    EXPECT_FALSE(base64UrlDecode("QQ=="));
    EXPECT_FALSE(base64UrlDecode("+/8"));
}

TEST(LoginCrypto, TextsAreComparedWhole) {
    EXPECT_TRUE(equalInConstantTime("", ""));
    EXPECT_TRUE(equalInConstantTime("abc", "abc"));
    EXPECT_FALSE(equalInConstantTime("abc", "abd"));
    EXPECT_FALSE(equalInConstantTime("abc", "ab"));
}

TEST(BrowserSecrets, EverySecretIsAnotherAndFollowsFromBothLoginAndBrowser) {
    const LoginAttempt one = attemptFrom("t1", "browser-1");
    const LoginAttempt again = attemptFrom("t1", "browser-1");
    const LoginAttempt other = attemptFrom("t1", "browser-2");
    const LoginAttempt later = attemptFrom("t2", "browser-1");
    EXPECT_EQ(one.state, again.state);
    EXPECT_EQ(one.verifier, again.verifier);
    std::set<std::string> secrets;
    for (const LoginAttempt& attempt : {one, other, later}) {
        secrets.insert(
            {attempt.state.substr(3), attempt.nonce, attempt.verifier, attempt.formToken});
    }
    EXPECT_EQ(secrets.size(), 12U);
}

TEST(BrowserSecrets, AStateNamesItsLogin) {
    EXPECT_EQ(transactionOfState("t1.xyz"), "t1");
    EXPECT_EQ(transactionOfState("t1"), "t1");
    for (const char* state : {"", ".x", "a b.x", "a'.x"}) {
        EXPECT_FALSE(transactionOfState(state)) << state;
    }
}

TEST(Cookies, AValueIsFoundByItsWholeName) {
    EXPECT_EQ(cookieValue("a=1; bc=2; c=3", "c"), "3");
    EXPECT_EQ(cookieValue("a=1;bc=2", "bc"), "2");
    EXPECT_EQ(cookieValue("a=", "a"), "");
    EXPECT_EQ(cookieValue("a=b=c", "a"), "b=c");
    EXPECT_FALSE(cookieValue("bc=2", "c"));
    EXPECT_FALSE(cookieValue("c", "c"));
    EXPECT_FALSE(cookieValue("", "c"));
}

TEST(Cookies, ADoubledNameIsNone) { EXPECT_FALSE(cookieValue("a=1; a=2", "a")); }

TEST(Cookies, ACookieIsOutOfReachOfScriptsAndOtherSites) {
    EXPECT_EQ(setCookie("n", "v", std::chrono::seconds(5), {"/p", true}),
              "n=v; Path=/p; Max-Age=5; HttpOnly; SameSite=Lax; Secure");
    EXPECT_EQ(setCookie("n", "", {}, {"/", false}),
              "n=; Path=/; Max-Age=0; HttpOnly; SameSite=Lax");
}

} // namespace lumivane::service
