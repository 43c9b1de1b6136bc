#include "support/EventLoop.h"
#include "support/FakeAuthService.h"
#include "support/FakeCredentialStore.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeWebAuthenticator.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::outcomeOf;
using test::watch;
using Case = AuthenticationError::Case;

namespace {

const QUuid firstOperation = QUuid::fromString(u"0f1e2d3c-4b5a-4978-8796-a5b4c3d2e1f0"_qs);
const QUuid secondOperation = QUuid::fromString(u"1f1e2d3c-4b5a-4978-8796-a5b4c3d2e1f0"_qs);

} // namespace

class AccountFakesTest : public testing::Test {
protected:
    test::Outcome<AuthCredentials> refresh(const char* token, const QUuid& operation) {
        return outcomeOf(service.refresh(SecretText(token), operation, std::stop_token()));
    }

    test::Journal journal;
    test::ManualClock clock;
    test::FakeAuthService service{journal, clock};
    test::FakeCredentialStore store{journal};
    test::FakeWebAuthenticator web{journal};
};

TEST_F(AccountFakesTest, AnEqualPairIsOneExchange) {
    const auto first = refresh("refresh-0", firstOperation);
    const auto again = refresh("refresh-0", firstOperation);
    ASSERT_TRUE(first.value && again.value);
    EXPECT_EQ(*first.value, *again.value);
    EXPECT_EQ(first.value->refreshToken, SecretText("refresh-1"));
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_EQ(service.requestsTo(u"refresh"_qs).size(), 2U);
}

TEST_F(AccountFakesTest, AnotherOperationOfAnOldTokenIsRefused) {
    refresh("refresh-0", firstOperation);
    EXPECT_EQ(refresh("refresh-0", secondOperation).errorAs<AuthenticationError>(),
              AuthenticationError(Case::expiredSession));
    EXPECT_TRUE(refresh("refresh-1", secondOperation).value);
    EXPECT_EQ(service.exchangeCount(), 2U);
}

TEST_F(AccountFakesTest, ALostAnswerHasBeenExchanged) {
    service.refreshAnswer.failWith(AuthenticationError(Case::unavailable));
    EXPECT_TRUE(refresh("refresh-0", firstOperation).error);
    EXPECT_EQ(service.exchangeCount(), 1U);
    service.refreshAnswer.answerWith(true);
    EXPECT_TRUE(refresh("refresh-0", firstOperation).value);
    EXPECT_EQ(service.exchangeCount(), 1U);
}

TEST_F(AccountFakesTest, TheStoreKeepsTheOrderOfItsCalls) {
    store.saveGate.hold();
    const auto saved =
        watch(flagged(store.save(service.session(), UnlockPrompt::never, std::stop_token())));
    const auto cleared = watch(flagged(store.clear(UnlockPrompt::allowed, std::stop_token())));
    drainEvents();
    EXPECT_EQ(journal.entries(), (QStringList{u"save"_qs, u"clear"_qs}));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(saved->value && cleared->value);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"save"_qs, u"clear"_qs, u"saved"_qs, u"removed"_qs}));
    EXPECT_FALSE(store.stored);
}

TEST_F(AccountFakesTest, AFailureOfTheStoreHasNoEffect) {
    store.stored = service.session();
    store.clearGate.failWith(AuthenticationError(Case::unavailable));
    EXPECT_TRUE(outcomeOf(flagged(store.clear(UnlockPrompt::never, std::stop_token()))).error);
    EXPECT_TRUE(store.stored);
    EXPECT_EQ(*outcomeOf(store.load(UnlockPrompt::never, std::stop_token())).value, store.stored);
}

TEST_F(AccountFakesTest, CancellingTheWebLoginEndsIt) {
    web.callback.hold();
    const auto outcome = watch(web.authenticate(QUrl(u"http://127.0.0.1/"_qs), std::stop_token()));
    web.cancel();
    drainEvents();
    EXPECT_EQ(outcome->errorAs<AuthenticationError>(), AuthenticationError(Case::cancelled));
    EXPECT_EQ(journal.entries(), (QStringList{u"authenticate"_qs, u"cancelWeb"_qs}));
}

TEST_F(AccountFakesTest, TheDeviceSaysWhatItIsTold) {
    test::FakeDeviceIdentity device(journal);
    EXPECT_TRUE(outcomeOf(device.registration(UnlockPrompt::allowed, std::stop_token()))
                    .value->isComplete());
    EXPECT_EQ(device.prompts, std::vector{UnlockPrompt::allowed});
}

} // namespace lumivane
