#include "platform/linux/SecretServiceItemStore.h"

#include "KeyringFixture.h"
#include "support/ManualClock.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::waitUntil;
using Status = SecretItemStatus;

namespace {

/// What shows the keyring's questions on a desktop: counts them, and refuses or never answers.
class Prompter final : public QDBusVirtualObject {
public:
    enum class Manner { refusing, silent };

    explicit Prompter(QDBusConnection bus, Manner manner = Manner::refusing)
        : m_bus(std::move(bus))
        , m_manner(manner) {
        m_bus.registerVirtualObject(u"/org/gnome/keyring/Prompter"_qs, this);
        m_bus.registerService(u"org.gnome.keyring.SystemPrompter"_qs);
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        ++count;
        if (m_manner == Manner::silent) {
            message.setDelayedReply(true);
            return true;
        }
        return bus.send(message.createErrorReply(QDBusError::Failed, u"nobody is there"_qs));
    }

    int count = 0;

private:
    QDBusConnection m_bus;
    Manner m_manner;
};

/// Whether a file below `folder` holds `text` as it stands.
bool standsInAFile(const QString& folder, const std::string& text) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.toStdString())) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::stringstream content;
        if (entry.is_regular_file()) {
            content << file.rdbuf();
        }
        if (content.str().find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

} // namespace

class SecretServiceItemStoreTest : public testing::Test {
protected:
    ~SecretServiceItemStoreTest() override {
        source.request_stop();
        drainEvents();
        pool.waitForDone();
    }

    auto startCopy(UnlockPrompt prompt = UnlockPrompt::never) {
        return test::watch(store.copyMatching(key, prompt, source.get_token()));
    }

    Status copyStatus(UnlockPrompt prompt = UnlockPrompt::never) {
        const auto outcome = startCopy(prompt);
        waitUntil([&] { return outcome->hasEnded(); });
        return outcome->value ? outcome->value->status : Status::success;
    }

    QByteArray copied() {
        const auto outcome = startCopy();
        waitUntil([&] { return outcome->hasEnded(); });
        return outcome->value && outcome->value->data ? outcome->value->data->reveal().toByteArray()
                                                      : QByteArray("nothing");
    }

    Status add(const QByteArray& data, UnlockPrompt prompt = UnlockPrompt::never) {
        return *test::outcomeOf(store.add(key, SecretText(data), {}, prompt, {})).value;
    }

    Status update(const QByteArray& data, UnlockPrompt prompt = UnlockPrompt::never) {
        return *test::outcomeOf(store.update(key, SecretText(data), prompt, {})).value;
    }

    Status remove(UnlockPrompt prompt = UnlockPrompt::never) {
        return *test::outcomeOf(store.remove(key, prompt, {})).value;
    }

    test::PrivateBus bus;
    test::SessionBus session{bus.address().toUtf8()};
    std::optional<test::KeyringDaemon> daemon{std::in_place, bus};
    test::ManualClock clock;
    QThreadPool pool;
    std::stop_source source;
    SecretServiceItemStore store{clock, pool};
    const SecretItemKey key{u"com.example.service"_qs, u"account"_qs};
};

TEST_F(SecretServiceItemStoreTest, AnUpdateKeepsTheOneItemAndItsAttributes) {
    EXPECT_EQ(add("one"), Status::success);
    const auto before = daemon->items(key.service, key.account);
    ASSERT_EQ(before.size(), 1);
    const auto attributes = daemon->attributes(before[0]);
    EXPECT_EQ(attributes,
              (QMap<QString, QString>{{u"service"_qs, key.service},
                                      {u"account"_qs, key.account},
                                      {u"xdg:schema"_qs, u"com.marnoth.Lumivane.SecretItem"_qs}}));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(update("data " + QByteArray::number(round)), Status::success);
    }
    EXPECT_EQ(daemon->items(key.service, key.account), before);
    EXPECT_EQ(daemon->attributes(before[0]), attributes);
    EXPECT_EQ(daemon->readByTool(key.service, key.account), "data 2");
}

TEST_F(SecretServiceItemStoreTest, ItemsOfOtherProgramsAreNotOurs) {
    daemon->storeByTool(key.service, key.account, "theirs");
    EXPECT_EQ(copyStatus(), Status::itemNotFound);
    EXPECT_EQ(update("ours"), Status::itemNotFound);
    EXPECT_EQ(remove(), Status::itemNotFound);
    EXPECT_EQ(add("ours"), Status::success);
    EXPECT_EQ(remove(), Status::success);
    EXPECT_EQ(daemon->readByTool(key.service, key.account), "theirs");
}

TEST_F(SecretServiceItemStoreTest, ItIsEncryptedAtRest) {
    EXPECT_EQ(add("canary-in-the-keyring"), Status::success);
    EXPECT_FALSE(standsInAFile(bus.folder(), "canary-in-the-keyring"));
}

TEST_F(SecretServiceItemStoreTest, AnItemOutlivesTheService) {
    EXPECT_EQ(add("one"), Status::success);
    daemon->kill();
    EXPECT_EQ(copyStatus(), Status::unavailable);
    daemon->start();
    EXPECT_EQ(copied(), "one");
    EXPECT_EQ(update("two"), Status::success);
    EXPECT_EQ(copied(), "two");
}

TEST_F(SecretServiceItemStoreTest, AKeyringThatComesUpLockedIsToldFromAnEmptyOne) {
    EXPECT_EQ(add("one"), Status::success);
    daemon->kill();
    daemon->start("wrong");
    EXPECT_EQ(copyStatus(), Status::interactionNotAllowed);
    EXPECT_EQ(update("two"), Status::interactionNotAllowed);
    EXPECT_EQ(remove(), Status::interactionNotAllowed);
    daemon->kill();
    daemon->start("right");
    EXPECT_EQ(copied(), "one");
}

TEST_F(SecretServiceItemStoreTest, ALockedKeyringThatShowsItsItemsSaysThatThereIsNone) {
    EXPECT_EQ(add("one"), Status::success);
    daemon->kill();
    daemon->start("wrong");
    const SecretItemKey other{key.service, u"other"_qs};
    EXPECT_EQ(test::outcomeOf(store.copyMatching(other, UnlockPrompt::never, {})).value->status,
              Status::itemNotFound);
}

TEST_F(SecretServiceItemStoreTest, ALockedKeyringThatShowsNothingMayHoldAnything) {
    daemon->lock();
    EXPECT_EQ(copyStatus(), Status::interactionNotAllowed);
    EXPECT_EQ(update("one"), Status::interactionNotAllowed);
    EXPECT_EQ(remove(), Status::interactionNotAllowed);
}

TEST_F(SecretServiceItemStoreTest, TheUserIsAskedOnlyWhereThatIsAllowed) {
    Prompter prompter(bus.connect());
    EXPECT_EQ(add("one"), Status::success);
    daemon->lock();
    EXPECT_EQ(copyStatus(), Status::interactionNotAllowed);
    EXPECT_EQ(update("two"), Status::interactionNotAllowed);
    EXPECT_EQ(remove(), Status::interactionNotAllowed);
    EXPECT_EQ(prompter.count, 0);

    EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::interactionNotAllowed);
    EXPECT_EQ(prompter.count, 1);
    EXPECT_EQ(update("two", UnlockPrompt::allowed), Status::interactionNotAllowed);
    EXPECT_EQ(remove(UnlockPrompt::allowed), Status::interactionNotAllowed);
    EXPECT_EQ(prompter.count, 3);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SecretServiceItemStoreTest, NobodyIsAskedWhenNothingIsLocked) {
    Prompter prompter(bus.connect());
    EXPECT_EQ(add("one", UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(remove(UnlockPrompt::allowed), Status::success);
    EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::itemNotFound);
    EXPECT_EQ(prompter.count, 0);
}

TEST_F(SecretServiceItemStoreTest, AddingToALockedKeyringAsksOnlyWhereThatIsAllowed) {
    Prompter prompter(bus.connect());
    daemon->lock();
    EXPECT_EQ(add("one"), Status::interactionNotAllowed);
    EXPECT_EQ(prompter.count, 0);
    EXPECT_EQ(add("one", UnlockPrompt::allowed), Status::interactionNotAllowed);
    EXPECT_EQ(prompter.count, 1);
}

TEST_F(SecretServiceItemStoreTest, AHungServiceIsUnavailableAtTheLimit) {
    EXPECT_EQ(add("one"), Status::success);
    {
        const test::HeldProcess held(daemon->processID());
        const auto outcome = startCopy(UnlockPrompt::allowed);
        clock.advance(2s - 1ns);
        drainEvents();
        EXPECT_FALSE(outcome->hasEnded());
        clock.advance(1ns);
        drainEvents();
        ASSERT_TRUE(outcome->value);
        EXPECT_EQ(outcome->value->status, Status::unavailable);
        // Its worker comes free as well, though the service still hangs.
        EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
        EXPECT_EQ(clock.timerCount(), 0U);
    }
    EXPECT_EQ(copied(), "one");
}

TEST_F(SecretServiceItemStoreTest, ARemovalFromAHungServiceIsUnavailableAndCanBeRepeated) {
    EXPECT_EQ(add("one"), Status::success);
    {
        const test::HeldProcess held(daemon->processID());
        const auto outcome = test::watch(store.remove(key, UnlockPrompt::allowed, {}));
        clock.advance(2s);
        drainEvents();
        EXPECT_EQ(outcome->value, Status::unavailable);
        EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
    }
    // What was sent may still be done, and nobody has to know whether it was.
    const Status again = remove();
    EXPECT_TRUE(again == Status::success || again == Status::itemNotFound);
    EXPECT_TRUE(daemon->items(key.service, key.account).isEmpty());
    EXPECT_EQ(copyStatus(), Status::itemNotFound);
}

TEST_F(SecretServiceItemStoreTest, AnAdditionToAHungServiceIsUnavailableAndCanBeRepeated) {
    {
        const test::HeldProcess held(daemon->processID());
        const auto outcome =
            test::watch(store.add(key, SecretText("one"), {}, UnlockPrompt::allowed, {}));
        clock.advance(2s);
        drainEvents();
        EXPECT_EQ(outcome->value, Status::unavailable);
        EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
    }
    const Status again = add("one");
    EXPECT_TRUE(again == Status::success || again == Status::duplicateItem);
    EXPECT_EQ(copied(), "one");
    EXPECT_EQ(daemon->items(key.service, key.account).size(), 1);
}

TEST_F(SecretServiceItemStoreTest, AServiceThatEndsDuringARemovalKeepsAllOrNothing) {
    EXPECT_EQ(add("one"), Status::success);
    std::optional<test::HeldProcess> held(std::in_place, daemon->processID());
    const auto outcome = test::watch(store.remove(key, UnlockPrompt::allowed, {}));
    waitUntil([this] { return pool.activeThreadCount() == 1; });
    daemon->kill();
    held.reset();
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(outcome->value, Status::unavailable);
    daemon->start();
    EXPECT_EQ(copied(), "one"); // the request was not read by then
    EXPECT_EQ(remove(), Status::success);
    EXPECT_EQ(copyStatus(), Status::itemNotFound);
}

TEST_F(SecretServiceItemStoreTest, AHungServiceNeverHoldsUpTheMainThread) {
    SystemClock realClock;
    SecretServiceItemStore realStore(realClock, pool);
    const test::HeldProcess held(daemon->processID());
    int ticks = 0;
    const auto timer = realClock.every(1ms, [&ticks] { ++ticks; });
    const MonotonicInstant begin = realClock.now();
    const auto outcome = test::outcomeOf(realStore.copyMatching(key, UnlockPrompt::never, {}));
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(outcome.value->status, Status::unavailable);
    EXPECT_GE(realClock.now() - begin, 2s);
    // Behind a call that waits there would be one, on a machine with other work to do many fewer
    // than could be.
    EXPECT_GE(ticks, 20);
}

TEST_F(SecretServiceItemStoreTest, AHungBusIsUnavailableAtTheLimit) {
    const test::HeldProcess held(bus.processID());
    const auto outcome = startCopy();
    drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(2s);
    drainEvents();
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->status, Status::unavailable);
    EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
}

TEST_F(SecretServiceItemStoreTest, AServiceThatEndsInTheMiddleIsUnavailableAtOnce) {
    EXPECT_EQ(add("one"), Status::success);
    std::optional<test::HeldProcess> held(std::in_place, daemon->processID());
    const auto outcome = startCopy();
    waitUntil([this] { return pool.activeThreadCount() == 1; });
    daemon->kill();
    held.reset();
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->status, Status::unavailable);
    daemon->start();
    EXPECT_EQ(copied(), "one");
}

TEST_F(SecretServiceItemStoreTest, AServiceThatIsGoneIsUnavailable) {
    daemon.reset();
    EXPECT_EQ(copyStatus(), Status::unavailable);
    EXPECT_EQ(add("one"), Status::unavailable);
    EXPECT_EQ(update("one"), Status::unavailable);
    EXPECT_EQ(remove(), Status::unavailable);
    EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::unavailable);
}

TEST_F(SecretServiceItemStoreTest, ABusThatIsGoneIsUnavailableAndTheProcessLives) {
    const QDBusConnection other = bus.connect();
    const auto connectionCount = [&other] {
        return other.interface()->registeredServiceNames().value().size();
    };
    const auto before = connectionCount();
    EXPECT_EQ(add("one"), Status::success);
    ASSERT_TRUE(waitUntil([&] { return connectionCount() == before; }));
    const test::HeldProcess held(daemon->processID());
    const auto outcome = startCopy();
    ASSERT_TRUE(waitUntil([&] { return connectionCount() > before; }));
    bus.kill();
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->status, Status::unavailable);
    EXPECT_EQ(copyStatus(), Status::unavailable);
}

TEST_F(SecretServiceItemStoreTest, WithoutASessionBusItIsUnavailableAndNoneIsStarted) {
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", "/nowhere");
    const QByteArray display = qgetenv("DISPLAY");
    qputenv("DISPLAY", ":99");
    for (const QByteArray& address : {QByteArray(), QByteArray("disabled:"),
                                      QByteArray("unix:path=/nowhere/bus"), QByteArray("x")}) {
        const test::SessionBus none(address);
        EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::unavailable) << address.toStdString();
    }
    qputenv("XDG_RUNTIME_DIR", folder);
    qputenv("DISPLAY", display);
}

TEST_F(SecretServiceItemStoreTest, AStopEndsACallThatHangs) {
    const test::HeldProcess held(daemon->processID());
    const auto outcome = startCopy();
    waitUntil([this] { return pool.activeThreadCount() == 1; });
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SecretServiceItemStoreTest, TheEndOfTheProgramFreesTheWorkersOfAHungService) {
    for (const auto hung : {daemon->processID(), bus.processID()}) {
        SecretServiceItemStore ending(clock, pool);
        const test::HeldProcess held(hung);
        const auto outcome = test::watch(ending.copyMatching(key, UnlockPrompt::allowed, {}));
        ASSERT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 1; }));
        ending.shutDown();
        // As behind the end of the event loop: no limit counts, no flow goes on.
        EXPECT_TRUE(pool.waitForDone(5000));
        EXPECT_FALSE(outcome->hasEnded());
        drainEvents();
        ASSERT_TRUE(outcome->value);
        EXPECT_EQ(outcome->value->status, Status::unavailable);
    }
}

TEST_F(SecretServiceItemStoreTest, BehindTheEndEveryCallIsUnavailable) {
    EXPECT_EQ(add("one"), Status::success);
    store.shutDown();
    store.shutDown();
    EXPECT_EQ(copyStatus(UnlockPrompt::allowed), Status::unavailable);
    EXPECT_EQ(add("two"), Status::unavailable);
    EXPECT_EQ(update("two"), Status::unavailable);
    EXPECT_EQ(remove(), Status::unavailable);
    EXPECT_EQ(daemon->items(key.service, key.account).size(), 1);
}

TEST_F(SecretServiceItemStoreTest, CallsAtTheSameTimeDoNotDisturbEachOther) {
    EXPECT_EQ(add("one"), Status::success);
    std::vector<std::shared_ptr<test::Outcome<SecretItemCopy>>> outcomes;
    for (int index = 0; index < 20; ++index) {
        outcomes.push_back(startCopy());
    }
    for (const auto& outcome : outcomes) {
        ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
        ASSERT_TRUE(outcome->value && outcome->value->data);
        EXPECT_EQ(outcome->value->data->reveal(), "one");
    }
}

// Behind this one the process cannot go to another bus: the library keeps the connection of a
// question that was cancelled. So it stands last, and each test has a process of its own.
TEST_F(SecretServiceItemStoreTest, TheEndOfTheProgramEndsAQuestion) {
    Prompter prompter(bus.connect(), Prompter::Manner::silent);
    EXPECT_EQ(add("one"), Status::success);
    daemon->lock();
    const auto outcome = startCopy(UnlockPrompt::allowed);
    ASSERT_TRUE(waitUntil([&] { return prompter.count == 1; }));
    EXPECT_EQ(pool.activeThreadCount(), 1);
    store.shutDown();
    EXPECT_TRUE(pool.waitForDone(5000));
    drainEvents();
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(outcome->value->status, Status::unavailable);
}

} // namespace lumivane
