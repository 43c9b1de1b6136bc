#include "accounts/SystemDeviceIdentity.h"

#include "accounts/AuthenticationError.h"
#include "support/FakeDeviceFacts.h"
#include "support/FakeRandomSource.h"
#include "support/FakeSecretItemStore.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <QUuid>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::waitUntil;
using Case = AuthenticationError::Case;
using Status = SecretItemStatus;

namespace {

const SecretItemKey key{u"com.marnoth.Lumivane.device"_qs, u"identifier"_qs};
const QString item = u" com.marnoth.Lumivane.device identifier"_qs;

} // namespace

class SystemDeviceIdentityTest : public testing::Test {
protected:
    ~SystemDeviceIdentityTest() override {
        source.request_stop();
        while (items.heldCount() > 0) {
            items.release();
        }
        drainEvents();
        pool.waitForDone();
    }

    auto start(UnlockPrompt prompt = UnlockPrompt::never) {
        return test::watch(identity->registration(prompt, source.get_token()));
    }

    test::Outcome<DeviceRegistration> registration(UnlockPrompt prompt = UnlockPrompt::never) {
        return test::outcomeOf(identity->registration(prompt, source.get_token()));
    }

    std::optional<Case> failure() {
        const auto error = registration().errorAs<AuthenticationError>();
        return error ? std::optional(error->errorCase) : std::nullopt;
    }

    std::unique_ptr<SystemDeviceIdentity> make() {
        return std::make_unique<SystemDeviceIdentity>(SystemDeviceIdentity::Surroundings{
            .items = items, .facts = facts, .random = random, .clock = clock, .pool = pool});
    }

    test::LogCapture log;
    test::ManualClock clock;
    test::FakeSecretItemStore items;
    test::FakeDeviceFacts facts;
    test::FakeRandomSource random;
    std::stop_source source;
    QThreadPool pool;
    std::unique_ptr<SystemDeviceIdentity> identity = make();
};

TEST_F(SystemDeviceIdentityTest, TheFirstCallMakesAnIdentifierAndKeepsIt) {
    const auto outcome = registration();
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(outcome.value->identifier, u"00010203-0405-4607-8809-0A0B0C0D0E0F");
    EXPECT_EQ(outcome.value->name, u"Studio");
    EXPECT_EQ(outcome.value->kind, DeviceKind::laptop);
    EXPECT_EQ(outcome.value->osVersion, u"macOS 15.2");
    EXPECT_TRUE(outcome.value->isComplete());
    EXPECT_EQ(items.requests(),
              (QStringList{u"copy"_qs + item, u"update"_qs + item, u"add"_qs + item}));
    ASSERT_EQ(items.items().size(), 1U);
    EXPECT_EQ(items.items()[0].key, key);
    EXPECT_EQ(items.items()[0].data.reveal(), "00010203-0405-4607-8809-0A0B0C0D0E0F");
    EXPECT_EQ(items.items()[0].attributes.accessibility,
              SecretItemAccessibility::whenUnlockedThisDeviceOnly);
    EXPECT_EQ(items.items()[0].attributes.synchronisation, SecretItemSynchronisation::no);
    EXPECT_EQ(facts.answersOnMainThread, 0);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SystemDeviceIdentityTest, AnIdentifierIsARandomUuidWhateverTheBytes) {
    random.next = 0xF0;
    const QUuid made = QUuid::fromString(registration().value->identifier);
    EXPECT_EQ(made.version(), QUuid::Random);
    EXPECT_EQ(made.variant(), QUuid::DCE);
}

TEST_F(SystemDeviceIdentityTest, LaterCallsAndStartsFindTheSameIdentifier) {
    const QString first = registration().value->identifier;
    EXPECT_EQ(registration().value->identifier, first);
    identity = make();
    EXPECT_EQ(registration().value->identifier, first);
    EXPECT_EQ(random.requestCount, 1);
    EXPECT_EQ(items.requests().filter(u"copy"_qs).size(), 3);
    EXPECT_EQ(items.requests().filter(u"update"_qs).size(), 1);
}

TEST_F(SystemDeviceIdentityTest, UnderAnotherServiceNameItIsAnotherIdentifier) {
    const QString first = registration().value->identifier;
    random.next = 0x40;
    identity = std::make_unique<SystemDeviceIdentity>(
        SystemDeviceIdentity::Surroundings{.items = items,
                                           .facts = facts,
                                           .random = random,
                                           .clock = clock,
                                           .pool = pool,
                                           .service = u"com.example.testing"_qs});
    EXPECT_NE(registration().value->identifier, first);
    EXPECT_EQ(items.items().size(), 2U);
    identity = make();
    EXPECT_EQ(registration().value->identifier, first);
}

TEST_F(SystemDeviceIdentityTest, SignOutDoesNotTouchIt) {
    const QString first = registration().value->identifier;
    const SecretItemKey session{u"com.marnoth.Lumivane.authentication"_qs, u"session"_qs};
    items.put(session, "x");
    test::outcomeOf(items.remove(session, UnlockPrompt::never, {}));
    EXPECT_EQ(registration().value->identifier, first);
}

TEST_F(SystemDeviceIdentityTest, AnyTextThatIsStoredIsTheIdentifier) {
    items.put(key, "an older id \xC3\xA4");
    EXPECT_EQ(registration().value->identifier, u"an older id ä");
    EXPECT_EQ(random.requestCount, 0);
}

TEST_F(SystemDeviceIdentityTest, ADamagedIdentifierIsNotReplaced) {
    for (const QByteArray& damaged :
         {QByteArray(""), QByteArray("\xFF\xFE"), QByteArray("ab\xC3")}) {
        items.put(key, damaged);
        EXPECT_EQ(failure(), Case::unavailable) << damaged.toHex().toStdString();
        EXPECT_EQ(items.items()[0].data.reveal(), damaged);
    }
    items.copiesWithoutData = true;
    EXPECT_EQ(failure(), Case::unavailable);
    EXPECT_EQ(items.requests().filter(u"update"_qs).size(), 0);
    EXPECT_EQ(items.requests().filter(u"add"_qs).size(), 0);
}

TEST_F(SystemDeviceIdentityTest, AKeychainThatFailsIsTheOnlyFailure) {
    for (const Status status :
         {Status::interactionNotAllowed, Status::unavailable, Status::other}) {
        items.copyFailure = status;
        EXPECT_EQ(failure(), Case::unavailable);
    }
    EXPECT_EQ(random.requestCount, 0);
    items.copyFailure.reset();
    items.updateFailure = Status::other;
    EXPECT_EQ(failure(), Case::unavailable);
    EXPECT_EQ(items.requests().filter(u"add"_qs).size(), 0);
    items.updateFailure.reset();
    items.addFailure = Status::other;
    EXPECT_EQ(failure(), Case::unavailable);
    EXPECT_TRUE(items.items().empty());
}

TEST_F(SystemDeviceIdentityTest, WithoutRandomBytesThereIsNoIdentifier) {
    random.isEmpty = true;
    EXPECT_EQ(failure(), Case::unavailable);
    EXPECT_TRUE(items.items().empty());
}

TEST_F(SystemDeviceIdentityTest, TwoFirstCallsMakeOneIdentifier) {
    items.hold();
    const auto first = start();
    const auto second = start();
    ASSERT_TRUE(waitUntil([&] {
        if (items.heldCount() > 0) {
            items.release();
        }
        return first->hasEnded() && second->hasEnded();
    }));
    ASSERT_TRUE(first->value && second->value);
    EXPECT_EQ(first->value->identifier, second->value->identifier);
    EXPECT_EQ(random.requestCount, 1);
    EXPECT_EQ(items.requests(), (QStringList{u"copy"_qs + item, u"update"_qs + item,
                                             u"add"_qs + item, u"copy"_qs + item}));
}

TEST_F(SystemDeviceIdentityTest, TheUserIsAskedOnlyWhereThatIsAllowed) {
    items.lock();
    EXPECT_EQ(failure(), Case::unavailable);
    EXPECT_EQ(items.questionCount(), 0);
    EXPECT_TRUE(registration(UnlockPrompt::allowed).value);
    EXPECT_EQ(items.questionCount(), 1);
}

TEST_F(SystemDeviceIdentityTest, TheNameOnTheNetworkServesWhereThereIsNoOther) {
    facts.name = std::nullopt;
    EXPECT_EQ(registration().value->name, u"studio.local");
    facts.name = u" \n "_qs;
    EXPECT_EQ(registration().value->name, u"studio.local");
    facts.host = QString();
    EXPECT_EQ(registration().value->name, u"Mac");
    facts.name = u" My\nStudio "_qs;
    EXPECT_EQ(registration().value->name, u"My Studio");
    // Not empty once white space is off, but nothing is left of it.
    facts.name = u"\u0001"_qs;
    facts.host = u"studio.local"_qs;
    EXPECT_EQ(registration().value->name, u"Mac");
}

TEST_F(SystemDeviceIdentityTest, ANameThatTakesTooLongIsNotWaitedFor) {
    facts.holdName();
    const auto outcome = start();
    ASSERT_TRUE(waitUntil([this] { return clock.timerCount() == 1; }));
    clock.advance(1s - 1ns);
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ns);
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->name, u"studio.local");
    EXPECT_EQ(outcome->value->kind, DeviceKind::laptop);
}

TEST_F(SystemDeviceIdentityTest, TheBatteryIsAskedForOnlyWhereTheModelDoesNotSayIt) {
    registration();
    EXPECT_EQ(facts.batteryProbes, 0);
    facts.model = u"Mac14,7"_qs;
    facts.battery = true;
    EXPECT_EQ(registration().value->kind, DeviceKind::laptop);
    EXPECT_EQ(facts.batteryProbes, 1);
    facts.battery = false;
    facts.model = std::nullopt;
    EXPECT_EQ(registration().value->kind, DeviceKind::desktop);
}

TEST_F(SystemDeviceIdentityTest, AStopCancelsWhereverItIs) {
    items.hold();
    const auto atTheKeychain = start();
    drainEvents();
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(atTheKeychain->isCancelled);

    items.release();
    items.put(key, "0123456789abcdef");
    source = std::stop_source();
    facts.holdName();
    const auto atTheName = start();
    ASSERT_TRUE(waitUntil([this] {
        if (items.heldCount() > 0) {
            items.release();
        }
        return clock.timerCount() == 1;
    }));
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(atTheName->isCancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace lumivane
