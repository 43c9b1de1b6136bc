#include "accounts/KeychainCredentialStore.h"

#include "accounts/AuthenticationError.h"
#include "domain/StrictJson.h"
#include "support/EventLoop.h"
#include "support/FakeSecretItemStore.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <QTimeZone>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace lumivane {

using test::drainEvents;
using test::FakeSecretItemStore;
using test::outcomeOf;
using Case = AuthenticationError::Case;
using Status = SecretItemStatus;

namespace {

const SecretItemKey key{u"com.marnoth.Lumivane.authentication"_qs, u"session"_qs};
const QString item = u" com.marnoth.Lumivane.authentication session"_qs;

StoredSession session(const char* token) {
    return {.refreshToken = SecretText(token),
            .refreshExpiresAt = QDateTime(QDate(2026, 12, 1), QTime(6, 25, 30), QTimeZone::utc()),
            .pendingRefreshOperationID = std::nullopt};
}

QCoro::Task<bool> done(QCoro::Task<void> call) {
    co_await call;
    co_return true;
}

template <typename Value>
std::optional<Case> errorOf(const test::Outcome<Value>& outcome) {
    const auto error = outcome.template errorAs<AuthenticationError>();
    return error ? std::optional(error->errorCase) : std::nullopt;
}

} // namespace

class KeychainCredentialStoreTest : public testing::Test {
protected:
    ~KeychainCredentialStoreTest() override {
        while (items.heldCount() > 0) {
            items.release();
            drainEvents();
        }
    }

    test::Outcome<std::optional<StoredSession>> load(UnlockPrompt prompt = UnlockPrompt::never) {
        return outcomeOf(store.load(prompt, std::stop_token()));
    }

    test::Outcome<bool> save(const StoredSession& value,
                             UnlockPrompt prompt = UnlockPrompt::never) {
        return outcomeOf(done(store.save(value, prompt, std::stop_token())));
    }

    test::Outcome<bool> clear(UnlockPrompt prompt = UnlockPrompt::never) {
        return outcomeOf(done(store.clear(prompt, std::stop_token())));
    }

    QByteArray stored() const { return items.items().at(0).data.reveal().toByteArray(); }

    test::LogCapture log;
    FakeSecretItemStore items;
    KeychainCredentialStore store{items};
};

TEST_F(KeychainCredentialStoreTest, AnEmptyKeychainLoadsAsNothingAndClears) {
    const auto loaded = load();
    ASSERT_TRUE(loaded.value);
    EXPECT_EQ(*loaded.value, std::nullopt);
    EXPECT_TRUE(clear().value);
    EXPECT_TRUE(clear().value);
    EXPECT_EQ(items.requests(),
              (QStringList{u"copy"_qs + item, u"remove"_qs + item, u"remove"_qs + item}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(KeychainCredentialStoreTest, TheFirstSaveAddsTheItem) {
    EXPECT_TRUE(save(session("r1")).value);
    EXPECT_EQ(items.requests(), (QStringList{u"update"_qs + item, u"add"_qs + item}));
    ASSERT_EQ(items.items().size(), 1U);
    EXPECT_EQ(items.items()[0].key, key);
    EXPECT_EQ(items.items()[0].attributes.accessibility,
              SecretItemAccessibility::whenUnlockedThisDeviceOnly);
    EXPECT_EQ(items.items()[0].attributes.synchronisation, SecretItemSynchronisation::no);
    EXPECT_EQ(stored(), R"({"refresh_token":"r1","refresh_expires_at":"2026-12-01T06:25:30Z"})");
}

TEST_F(KeychainCredentialStoreTest, ASecondSaveRewritesTheItemInPlace) {
    save(session("r1"));
    StoredSession next = session("r2");
    next.pendingRefreshOperationID = QUuid::fromString(u"0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0"_qs);
    EXPECT_TRUE(save(next).value);
    EXPECT_EQ(items.requests().mid(2), (QStringList{u"update"_qs + item}));
    EXPECT_EQ(items.items().size(), 1U);
    EXPECT_EQ(items.items()[0].attributes, SecretItemAttributes());
    EXPECT_EQ(stored(),
              R"({"refresh_token":"r2","refresh_expires_at":"2026-12-01T06:25:30Z",)"
              R"("pending_refresh_operation_id":"0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"})");
    EXPECT_EQ(*load().value, std::optional(next));
}

TEST_F(KeychainCredentialStoreTest, AStoredExpiryIsNeverLater) {
    StoredSession exact = session("r");
    exact.refreshExpiresAt = exact.refreshExpiresAt.addMSecs(999);
    save(exact);
    EXPECT_EQ(*load().value, std::optional(session("r")));
}

TEST_F(KeychainCredentialStoreTest, WhatIsClearedIsGone) {
    save(session("r1"));
    EXPECT_TRUE(clear().value);
    EXPECT_TRUE(items.items().empty());
    EXPECT_EQ(*load().value, std::nullopt);
    EXPECT_TRUE(clear().value);
}

TEST_F(KeychainCredentialStoreTest, OtherItemsAreLeftAlone) {
    items.put({u"com.marnoth.Lumivane.device"_qs, u"identifier"_qs}, "id");
    items.put({key.service, u"other"_qs}, "x");
    EXPECT_EQ(*load().value, std::nullopt);
    save(session("r1"));
    clear();
    EXPECT_EQ(items.items().size(), 2U);
}

TEST_F(KeychainCredentialStoreTest, AnItemOfAnotherServiceNameIsAnotherSession) {
    save(session("r1"));
    KeychainCredentialStore other(items, u"com.example.testing"_qs);
    EXPECT_EQ(*outcomeOf(other.load(UnlockPrompt::never, {})).value, std::nullopt);
    outcomeOf(done(other.save(session("r2"), UnlockPrompt::never, {})));
    EXPECT_EQ(load().value->value(), session("r1"));
    outcomeOf(done(other.clear(UnlockPrompt::never, {})));
    EXPECT_EQ(load().value->value(), session("r1"));
}

TEST_F(KeychainCredentialStoreTest, WhatIsNoSessionIsADecodingErrorAndStays) {
    for (const auto* data :
         {"", "{", "no", "[]", "{}", R"({"refresh_token":"r"})",
          R"({"refresh_token":1,"refresh_expires_at":"2026-12-01T06:25:30Z"})",
          R"({"refresh_token":"r","refresh_expires_at":"2026-12-01T06:25:30.5Z"})",
          R"({"refresh_token":"r","refresh_expires_at":"2026-12-01"})", "\xFF"}) {
        items.put(key, data);
        const auto outcome = load();
        EXPECT_TRUE(outcome.errorAs<DecodingError>()) << data;
        EXPECT_FALSE(outcome.errorAs<AuthenticationError>()) << data;
        EXPECT_EQ(stored(), data);
    }
    EXPECT_EQ(items.requests().filter(u"remove"_qs).size(), 0);
}

TEST_F(KeychainCredentialStoreTest, SuccessWithoutDataIsUnavailable) {
    save(session("r1"));
    items.copiesWithoutData = true;
    EXPECT_EQ(errorOf(load()), Case::unavailable);
}

TEST_F(KeychainCredentialStoreTest, AnyOtherStatusIsUnavailable) {
    save(session("r1"));
    for (const Status status : {Status::interactionNotAllowed, Status::unavailable, Status::other,
                                Status::duplicateItem}) {
        items.copyFailure = status;
        items.updateFailure = status;
        items.removeFailure = status;
        EXPECT_EQ(errorOf(load()), Case::unavailable);
        EXPECT_EQ(errorOf(save(session("r2"))), Case::unavailable);
        EXPECT_EQ(errorOf(clear()), Case::unavailable);
    }
    EXPECT_EQ(items.requests().filter(u"add"_qs).size(), 1);
    EXPECT_EQ(items.items().size(), 1U);
}

TEST_F(KeychainCredentialStoreTest, AMissingAndALockedKeyringAreToldFromTheRest) {
    using Trouble = KeyringTrouble;
    for (const auto& [status, trouble] :
         {std::pair(Status::unavailable, Trouble::missing),
          std::pair(Status::interactionNotAllowed, Trouble::locked),
          std::pair(Status::other, Trouble::none), std::pair(Status::duplicateItem, Trouble::none),
          std::pair(Status::success, Trouble::none)}) {
        items.copyFailure = status;
        const AuthenticationError expected(Case::unavailable, trouble);
        EXPECT_EQ(load().errorAs<AuthenticationError>(), expected);
        if (status != Status::success) {
            items.updateFailure = status;
            items.removeFailure = status;
            EXPECT_EQ(save(session("r1")).errorAs<AuthenticationError>(), expected);
            EXPECT_EQ(clear().errorAs<AuthenticationError>(), expected);
        }
    }
}

TEST_F(KeychainCredentialStoreTest, ADateThatCannotBeWrittenIsNotStored) {
    save(session("r1"));
    const int before = int(items.requests().size());
    for (const QDateTime& date :
         {QDateTime(), QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC)}) {
        StoredSession unwritable = session("r2");
        unwritable.refreshExpiresAt = date;
        EXPECT_TRUE(save(unwritable).errorAs<EncodingError>());
    }
    EXPECT_EQ(items.requests().size(), before);
}

TEST_F(KeychainCredentialStoreTest, AFailedAddIsUnavailable) {
    for (const Status status : {Status::duplicateItem, Status::interactionNotAllowed,
                                Status::unavailable, Status::itemNotFound, Status::other}) {
        items.addFailure = status;
        EXPECT_EQ(errorOf(save(session("r1"))), Case::unavailable);
    }
    EXPECT_TRUE(items.items().empty());
}

TEST_F(KeychainCredentialStoreTest, ARefusalIsLoggedByItsStatusAlone) {
    items.put(key, R"({"refresh_token":"canary","refresh_expires_at":"2026-12-01T06:25:30Z"})");
    items.lock();
    load();
    save(session("canary"));
    EXPECT_EQ(log.count("lifecycle", LogLevel::error,
                        "Keychain item not usable; status=interactionNotAllowed"),
              2);
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(KeychainCredentialStoreTest, TheUserIsAskedOnlyWhereThatIsAllowed) {
    save(session("r1"));
    items.lock();
    EXPECT_EQ(errorOf(load()), Case::unavailable);
    EXPECT_EQ(errorOf(save(session("r2"))), Case::unavailable);
    EXPECT_EQ(errorOf(clear()), Case::unavailable);
    EXPECT_EQ(items.questionCount(), 0);

    EXPECT_EQ(*load(UnlockPrompt::allowed).value, std::optional(session("r1")));
    EXPECT_EQ(items.questionCount(), 1);
    items.lock();
    EXPECT_TRUE(save(session("r3"), UnlockPrompt::allowed).value);
    items.lock();
    EXPECT_TRUE(clear(UnlockPrompt::allowed).value);
    EXPECT_EQ(items.questionCount(), 3);
    items.userUnlocks = false;
    items.lock();
    EXPECT_EQ(errorOf(load(UnlockPrompt::allowed)), Case::unavailable);
}

TEST_F(KeychainCredentialStoreTest, TheRightToAskHoldsForTheAddOfASaveToo) {
    save(session("r1"), UnlockPrompt::allowed);
    EXPECT_EQ(items.prompts(),
              (std::vector<UnlockPrompt>{UnlockPrompt::allowed, UnlockPrompt::allowed}));
}

TEST_F(KeychainCredentialStoreTest, CallsHaveTheirEffectOneAfterAnother) {
    items.hold();
    const auto saved = test::watch(done(store.save(session("r1"), UnlockPrompt::never, {})));
    const auto cleared = test::watch(done(store.clear(UnlockPrompt::never, {})));
    const auto loaded = test::watch(store.load(UnlockPrompt::never, {}));
    drainEvents();
    EXPECT_EQ(items.requests(), (QStringList{u"update"_qs + item}));
    items.release();
    drainEvents();
    // The whole save is one call: nothing comes between its two steps.
    EXPECT_EQ(items.requests(), (QStringList{u"update"_qs + item, u"add"_qs + item}));
    EXPECT_FALSE(saved->hasEnded());
    items.release();
    drainEvents();
    EXPECT_TRUE(saved->value);
    EXPECT_EQ(items.requests().last(), u"remove"_qs + item);
    items.release();
    drainEvents();
    EXPECT_TRUE(cleared->value);
    items.release();
    drainEvents();
    ASSERT_TRUE(loaded->value);
    EXPECT_EQ(*loaded->value, std::nullopt);
    EXPECT_TRUE(items.items().empty());
}

TEST_F(KeychainCredentialStoreTest, AFailedCallDoesNotHoldUpTheNext) {
    items.updateFailure = Status::unavailable;
    const auto saved = test::watch(done(store.save(session("r1"), UnlockPrompt::never, {})));
    EXPECT_TRUE(clear().value);
    EXPECT_EQ(errorOf(*saved), Case::unavailable);
}

TEST_F(KeychainCredentialStoreTest, AStoppedCallIsCancelledAndHasNoError) {
    items.hold();
    std::stop_source source;
    const auto loaded = test::watch(store.load(UnlockPrompt::never, source.get_token()));
    const auto next = test::watch(done(store.clear(UnlockPrompt::never, source.get_token())));
    drainEvents();
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(loaded->isCancelled);
    EXPECT_TRUE(next->isCancelled);
    EXPECT_EQ(items.requests(), (QStringList{u"copy"_qs + item}));
    EXPECT_TRUE(log.lines().empty());
}

} // namespace lumivane
