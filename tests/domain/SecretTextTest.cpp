#include "domain/SecretText.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace lumivane {
namespace {

TEST(SecretText, HoldsItsBytesExactly) {
    const SecretText secret(QByteArrayView("tok\0en\xc3\xa9", 8));
    EXPECT_EQ(secret.reveal(), QByteArrayView("tok\0en\xc3\xa9", 8));
    EXPECT_EQ(SecretText::of(u"é"_qs).reveal(), QByteArrayView("\xc3\xa9"));
}

TEST(SecretText, ACopyStandsOnItsOwn) {
    SecretText first(QByteArrayView("token"));
    const SecretText second = first;
    EXPECT_NE(first.reveal().data(), second.reveal().data());
    first = SecretText(QByteArrayView("other"));
    EXPECT_EQ(second.reveal(), QByteArrayView("token"));
    EXPECT_EQ(first.reveal(), QByteArrayView("other"));
}

TEST(SecretText, MovingLeavesNothingBehind) {
    SecretText first(QByteArrayView("token"));
    const SecretText second = std::move(first);
    EXPECT_TRUE(first.isEmpty()); // NOLINT(bugprone-use-after-move): that is the promise
    EXPECT_EQ(second.reveal(), QByteArrayView("token"));
}

TEST(SecretText, AssigningToItselfKeepsTheText) {
    SecretText secret(QByteArrayView("token"));
    const SecretText& same = secret;
    secret = same;
    EXPECT_EQ(secret.reveal(), QByteArrayView("token"));
}

TEST(SecretText, ComparesWholeTexts) {
    EXPECT_EQ(SecretText(QByteArrayView("token")), SecretText(QByteArrayView("token")));
    EXPECT_NE(SecretText(QByteArrayView("token")), SecretText(QByteArrayView("tokem")));
    EXPECT_NE(SecretText(QByteArrayView("token")), SecretText(QByteArrayView("xoken")));
    EXPECT_NE(SecretText(QByteArrayView("token")), SecretText(QByteArrayView("toke")));
    EXPECT_EQ(SecretText(), SecretText(QByteArrayView("")));
}

TEST(SecretText, OverwritingReachesTheMemoryItself) {
    QByteArray bytes("token that is long enough to be told apart");
    const char* const memory = bytes.constData();
    const qsizetype size = bytes.size();
    overwriteWithZeros(bytes);
    EXPECT_EQ(bytes.constData(), memory);
    EXPECT_EQ(QByteArrayView(memory, size), QByteArray(size, '\0'));
}

static_assert(!std::is_convertible_v<SecretText, QString>);
static_assert(!std::is_convertible_v<SecretText, QByteArray>);
static_assert(!std::is_convertible_v<QString, SecretText>);

} // namespace
} // namespace lumivane
