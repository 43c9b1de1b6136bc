// What becomes of the questions that a keyring asks its user.

#include "KeyringFixture.h"
#include "support/ManualClock.h"
#include "support/ScriptedSecretService.h"

#include <QScopeGuard>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::waitUntil;
using Answer = test::ScriptedSecretService::Answer;
using Status = SecretItemStatus;

class SecretServicePromptTest : public testing::Test {
protected:
    ~SecretServicePromptTest() override {
        store->shutDown();
        drainEvents();
        pool.waitForDone();
    }

    void lockWith(const QByteArray& data) {
        service.put(key.service, key.account, data);
        service.isLocked = true;
    }

    auto startCopy(UnlockPrompt prompt) {
        return test::watch(store->copyMatching(key, prompt, {}));
    }

    SecretItemCopy copy(UnlockPrompt prompt) {
        const auto outcome = startCopy(prompt);
        waitUntil([&] { return outcome->hasEnded(); });
        return outcome->value.value_or(SecretItemCopy{Status::other, std::nullopt});
    }

    Status add(UnlockPrompt prompt) {
        return *test::outcomeOf(store->add(key, SecretText("new"), {}, prompt, {})).value;
    }

    Status update(UnlockPrompt prompt) {
        return *test::outcomeOf(store->update(key, SecretText("new"), prompt, {})).value;
    }

    Status remove(UnlockPrompt prompt) {
        return *test::outcomeOf(store->remove(key, prompt, {})).value;
    }

    QByteArray secret() const { return service.item ? service.item->secret : "nothing"; }

    test::PrivateBus bus;
    test::SessionBus session{bus.address().toUtf8()};
    test::ScriptedSecretService service{bus.connect()};
    test::ManualClock clock;
    QThreadPool pool;
    std::unique_ptr<SecretServiceItemStore> store =
        std::make_unique<SecretServiceItemStore>(clock, pool);
    const SecretItemKey key{u"com.example.service"_qs, u"account"_qs};
};

TEST_F(SecretServicePromptTest, WithoutAQuestionAllGoesAsInAnyKeyring) {
    EXPECT_EQ(copy(UnlockPrompt::allowed).status, Status::itemNotFound);
    EXPECT_EQ(add(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(add(UnlockPrompt::allowed), Status::duplicateItem);
    EXPECT_EQ(copy(UnlockPrompt::never).data, SecretText("new"));
    EXPECT_EQ(remove(UnlockPrompt::never), Status::success);
    EXPECT_EQ(service.questionCount, 0);
}

TEST_F(SecretServicePromptTest, WhatTheUserUnlocksIsRead) {
    lockWith("one");
    EXPECT_EQ(copy(UnlockPrompt::never).status, Status::interactionNotAllowed);
    EXPECT_EQ(service.questionCount, 0);
    const SecretItemCopy read = copy(UnlockPrompt::allowed);
    EXPECT_EQ(read.status, Status::success);
    EXPECT_EQ(read.data, SecretText("one"));
    EXPECT_EQ(service.questionCount, 1);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SecretServicePromptTest, WhatTheUserUnlocksIsChanged) {
    lockWith("one");
    EXPECT_EQ(update(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(secret(), "new");
    EXPECT_EQ(service.questionCount, 1);
}

TEST_F(SecretServicePromptTest, WhatTheUserUnlocksIsRemoved) {
    lockWith("one");
    EXPECT_EQ(remove(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(secret(), "nothing");
    EXPECT_EQ(service.questionCount, 1);
}

TEST_F(SecretServicePromptTest, AnItemGoesIntoTheCollectionThatTheUserUnlocks) {
    service.isLocked = true;
    EXPECT_EQ(add(UnlockPrompt::never), Status::interactionNotAllowed);
    EXPECT_EQ(add(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(secret(), "new");
    EXPECT_EQ(service.questionCount, 1);
}

TEST_F(SecretServicePromptTest, AUserWithoutACollectionIsAskedToSetOneUp) {
    service.hasCollection = false;
    EXPECT_EQ(add(UnlockPrompt::never), Status::interactionNotAllowed);
    EXPECT_EQ(service.questionCount, 0);
    EXPECT_EQ(add(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(service.questionCount, 1);
    EXPECT_EQ(secret(), "new");
    EXPECT_EQ(copy(UnlockPrompt::never).data, SecretText("new"));
}

TEST_F(SecretServicePromptTest, ANoLeavesAllAsItIs) {
    service.answer = Answer::no;
    lockWith("one");
    EXPECT_EQ(copy(UnlockPrompt::allowed).status, Status::interactionNotAllowed);
    EXPECT_EQ(update(UnlockPrompt::allowed), Status::interactionNotAllowed);
    EXPECT_EQ(service.questionCount, 2);
    EXPECT_EQ(secret(), "one");
    service.item.reset();
    service.hasCollection = false;
    EXPECT_NE(add(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(service.questionCount, 3);
    EXPECT_FALSE(service.hasCollection);
}

TEST_F(SecretServicePromptTest, AQuestionThatNobodyAnswersIsGivenUpAtTheLimit) {
    service.answer = Answer::none;
    lockWith("one");
    const auto outcome = startCopy(UnlockPrompt::allowed);
    ASSERT_TRUE(waitUntil([this] { return service.questionCount == 1; }));
    clock.advance(SecretServiceItemStore::promptLimit - 1ns);
    drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ns);
    drainEvents();
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->status, Status::interactionNotAllowed);
    EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
    EXPECT_TRUE(waitUntil([this] { return service.dismissedCount == 1; }));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SecretServicePromptTest, ALoginGetsItsAnswerBeforeItsCodeIsTooOld) {
    EXPECT_LE(SecretServiceItemStore::promptLimit + 2 * SecretServiceItemStore::callLimit, 110s);
}

TEST_F(SecretServicePromptTest, QuestionsLeaveRoomForOtherCallsOnAMachineWithOneCore) {
    QThreadPool narrow;
    narrow.setMaxThreadCount(1);
    SecretServiceItemStore onOneCore(clock, narrow);
    const auto end = qScopeGuard([&onOneCore] { onOneCore.shutDown(); });
    service.answer = Answer::none;
    lockWith("one");
    const auto first = test::watch(onOneCore.copyMatching(key, UnlockPrompt::allowed, {}));
    ASSERT_TRUE(waitUntil([this] { return service.questionCount == 1; }));
    const auto second = test::watch(onOneCore.copyMatching(key, UnlockPrompt::allowed, {}));
    ASSERT_TRUE(waitUntil([this] { return service.questionCount == 2; }));
    const auto third = test::watch(onOneCore.copyMatching(key, UnlockPrompt::never, {}));
    ASSERT_TRUE(waitUntil([&] { return third->hasEnded(); }));
    EXPECT_EQ(third->value->status, Status::interactionNotAllowed);
    EXPECT_FALSE(first->hasEnded());
    onOneCore.shutDown();
    EXPECT_TRUE(narrow.waitForDone(5000));
    drainEvents();
}

} // namespace lumivane
