#include "accounts/LoginCallback.h"

#include "accounts/AuthenticationError.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

const QString transaction = u"tx-1"_qs;

/// The code, or the error in its place.
struct Reading {
    QByteArray code;
    std::optional<Case> error;

    bool operator==(const Reading&) const = default;
};

Reading read(const QString& url, const QString& transactionID = transaction) {
    try {
        return {LoginCallback::handoffCode(url, transactionID).reveal().toByteArray(),
                std::nullopt};
    } catch (const AuthenticationError& error) {
        return {QByteArray(), error.errorCase};
    }
}

Reading code(const QByteArray& code) { return {code, std::nullopt}; }

Reading error(Case errorCase) { return {QByteArray(), errorCase}; }

const QString callback = u"com.marnoth.lumivane.oauth://callback"_qs;
const QString good = callback + u"?transaction_id=tx-1&handoff_code=abc"_qs;

void expectInvalid(const std::vector<QString>& urls) {
    for (const QString& url : urls) {
        EXPECT_EQ(read(url), error(Case::invalidCallback)) << url.toStdString();
    }
}

QString withQuery(const QString& query) { return callback + u'?' + query; }

} // namespace

TEST(LoginCallback, ACodeForThisTransactionIsTaken) {
    EXPECT_EQ(read(good), code("abc"));
    EXPECT_EQ(read(withQuery(u"handoff_code=abc&transaction_id=tx-1"_qs)), code("abc"));
}

TEST(LoginCallback, ThePathIsEmptyOrASlash) {
    EXPECT_EQ(read(callback + u"/?transaction_id=tx-1&handoff_code=abc"_qs), code("abc"));
    const QString query = u"?transaction_id=tx-1&handoff_code=abc"_qs;
    expectInvalid({callback + u"/x"_qs + query, callback + u"//"_qs + query,
                   callback + u"/."_qs + query, callback + u"/%2F"_qs + query,
                   callback + u"/callback"_qs + query});
}

TEST(LoginCallback, SchemeAndHostAreTheSameInAnyCase) {
    const QString query = u"?transaction_id=tx-1&handoff_code=abc"_qs;
    EXPECT_EQ(read(u"COM.Marnoth.Lumivane.OAuth://CallBack"_qs + query), code("abc"));
    expectInvalid({
        u"com.marnoth.lumivane.oauth2://callback"_qs + query,
        u"com.marnoth.lumivane://callback"_qs + query,
        u"xcom.marnoth.lumivane.oauth://callback"_qs + query,
        u"https://callback"_qs + query,
        u"com.marnoth.lumivane.oauth://callback.example"_qs + query,
        u"com.marnoth.lumivane.oauth://callback."_qs + query,
        u"com.marnoth.lumivane.oauth://xcallback"_qs + query,
        u"com.marnoth.lumivane.oauth://%63allback"_qs + query,
        u"com.marnoth.lumivane.oauth://"_qs + query,
        u"com.marnoth.lumivane.oauth:callback"_qs + query,
        u"com.marnoth.lumivane.oauth:/callback"_qs + query,
        u"com.marnoth.lumivane.oauth:///callback"_qs + query,
        u"com.marnoth.lumivane.oauth:\\\\callback"_qs + query,
        u"//callback"_qs + query,
        u"callback"_qs + query,
    });
    // The sign of the kelvin folds to a "k" where case is judged by Unicode.
    expectInvalid({u"com.marnoth.lumivane.oauth://callbac\u212A"_qs + query});
}

TEST(LoginCallback, TheCaseOfNamesAndValuesCounts) {
    expectInvalid({withQuery(u"Transaction_ID=tx-1&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=TX-1&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-1&Handoff_Code=abc"_qs)});
    EXPECT_EQ(read(withQuery(u"transaction_id=tx-1&error=Access_Denied"_qs)),
              error(Case::unavailable));
}

TEST(LoginCallback, UserPasswordPortAndFragmentAreRefusedAlsoEmpty) {
    const QString query = u"?transaction_id=tx-1&handoff_code=abc"_qs;
    const QString scheme = u"com.marnoth.lumivane.oauth://"_qs;
    expectInvalid({scheme + u"user@callback"_qs + query, scheme + u"@callback"_qs + query,
                   scheme + u"user:secret@callback"_qs + query, scheme + u":@callback"_qs + query,
                   scheme + u"callback:80"_qs + query, scheme + u"callback:"_qs + query,
                   scheme + u"callback:/"_qs + query, good + u"#x"_qs, good + u"#"_qs,
                   callback + u"#"_qs + query, callback + u"/#"_qs + query,
                   scheme + u"evil.example@callback"_qs + query,
                   scheme + u"callback@evil.example"_qs + query});
}

TEST(LoginCallback, ThereAreExactlyTwoItems) {
    expectInvalid({
        callback,
        callback + u'/',
        callback + u'?',
        withQuery(u"transaction_id=tx-1"_qs),
        withQuery(u"handoff_code=abc"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=abc&x=y"_qs),
        withQuery(u"x=y&transaction_id=tx-1&handoff_code=abc"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=abc&error=access_denied"_qs),
    });
}

TEST(LoginCallback, AnEmptyPieceIsAnItem) {
    expectInvalid({withQuery(u"transaction_id=tx-1&handoff_code=abc&"_qs),
                   withQuery(u"&transaction_id=tx-1&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-1&&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-1&"_qs), withQuery(u"&transaction_id=tx-1"_qs),
                   withQuery(u"&"_qs)});
}

TEST(LoginCallback, EachNameStandsThereOnce) {
    expectInvalid({withQuery(u"transaction_id=tx-1&transaction_id=tx-1"_qs),
                   withQuery(u"handoff_code=abc&handoff_code=abc"_qs),
                   withQuery(u"error=cancelled&error=cancelled"_qs),
                   withQuery(u"error=cancelled&handoff_code=abc"_qs)});
}

TEST(LoginCallback, NoOtherNameWillDo) {
    expectInvalid({withQuery(u"transaction_id=tx-1&code=abc"_qs),
                   withQuery(u"transaction_id=tx-1&=abc"_qs),
                   withQuery(u"transaction_id=tx-1&handoff_code%00=abc"_qs),
                   withQuery(u"transaction_id=tx-1&handoff+code=abc"_qs),
                   withQuery(u"transaction-id=tx-1&handoff_code=abc"_qs)});
}

TEST(LoginCallback, TheTransactionIsThisOne) {
    expectInvalid({withQuery(u"transaction_id=tx-2&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-11&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=&handoff_code=abc"_qs),
                   withQuery(u"transaction_id&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-1%00&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=%20tx-1&handoff_code=abc"_qs),
                   withQuery(u"transaction_id=tx-2&error=access_denied"_qs),
                   withQuery(u"transaction_id=tx-2&error=server_error"_qs)});
}

TEST(LoginCallback, AnAbsentValueIsNotAnEmptyOne) {
    EXPECT_EQ(read(withQuery(u"transaction_id&handoff_code=abc"_qs), QString()),
              error(Case::invalidCallback));
    EXPECT_EQ(read(withQuery(u"transaction_id=&handoff_code=abc"_qs), QString()), code("abc"));
}

TEST(LoginCallback, CodeAndErrorAreNotEmpty) {
    expectInvalid({withQuery(u"transaction_id=tx-1&handoff_code="_qs),
                   withQuery(u"transaction_id=tx-1&handoff_code"_qs),
                   withQuery(u"transaction_id=tx-1&error="_qs),
                   withQuery(u"transaction_id=tx-1&error"_qs)});
}

TEST(LoginCallback, AUserWhoGaveUpIsNoFailure) {
    for (const auto* reason : {"access_denied", "cancelled", "authorization_cancelled"}) {
        EXPECT_EQ(read(withQuery(u"transaction_id=tx-1&error="_qs + QString::fromLatin1(reason))),
                  error(Case::cancelled))
            << reason;
    }
    EXPECT_EQ(read(withQuery(u"error=access%5Fdenied&transaction_id=tx-1"_qs)),
              error(Case::cancelled));
}

TEST(LoginCallback, AnyOtherErrorIsAnOutage) {
    for (const auto* reason : {"server_error", "access_denied2", "canceled", "x", "%00",
                               "temporarily_unavailable", "access_denied%00"}) {
        EXPECT_EQ(read(withQuery(u"transaction_id=tx-1&error="_qs + QString::fromLatin1(reason))),
                  error(Case::unavailable))
            << reason;
    }
}

TEST(LoginCallback, NamesAndValuesAreComparedDecoded) {
    EXPECT_EQ(read(withQuery(u"transaction%5fid=%74x%2D1&handoff%5Fcode=a%62c"_qs)), code("abc"));
    EXPECT_EQ(read(withQuery(u"transaction_id=%C3%A4%F0%9F%98%80&handoff_code=%C3%A4"_qs),
                   u"ä\U0001F600"_qs),
              code("ä"));
    EXPECT_EQ(read(withQuery(u"transaction_id=a%26b%3Dc&handoff_code=%3D%26%25"_qs), u"a&b=c"_qs),
              code("=&%"));
    // Decoded once.
    expectInvalid({withQuery(u"transaction_id=tx%252D1&handoff_code=abc"_qs)});
}

TEST(LoginCallback, AnEqualsSignMayStandInAValue) {
    EXPECT_EQ(read(withQuery(u"transaction_id=tx-1&handoff_code=a=b=="_qs)), code("a=b=="));
}

TEST(LoginCallback, APlusIsAPlus) {
    EXPECT_EQ(read(withQuery(u"transaction_id=a+b&handoff_code=c+d"_qs), u"a+b"_qs), code("c+d"));
    EXPECT_EQ(read(withQuery(u"transaction_id=a+b&handoff_code=c"_qs), u"a b"_qs),
              error(Case::invalidCallback));
}

TEST(LoginCallback, WhatIsNoAddressIsRefused) {
    expectInvalid({
        QString(),
        u" "_qs,
        u' ' + good,
        good + u' ',
        good + u'\n',
        good + QChar(0),
        good + u"\u00E4"_qs,
        good + u"\u0130"_qs,
        withQuery(u"transaction_id=tx-1&handoff_code=a b"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a%"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a%4"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a%4g"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a%-1"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a\"b"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=<a>"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=[a]"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a\\b"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=a^`{|}"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=%FF"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=%C3"_qs),
        withQuery(u"transaction_id=tx-1&handoff_code=%ED%A0%80"_qs),
        withQuery(u"transaction_id=tx-1&%FF=abc"_qs),
    });
}

TEST(LoginCallback, EveryCharacterOfAQueryMayStandInACode) {
    const QString marks = u"-._~!$'()*,;:@/?"_qs;
    EXPECT_EQ(read(withQuery(u"transaction_id=tx-1&handoff_code="_qs + marks)),
              code(marks.toLatin1()));
}

TEST(LoginCallback, TheLengthIsBounded) {
    const QString atTheLimit = good.leftJustified(LoginCallback::maximumLength, u'x');
    EXPECT_EQ(read(atTheLimit).error, std::nullopt);
    EXPECT_EQ(read(atTheLimit + u'x'), error(Case::invalidCallback));
}

} // namespace lumivane
