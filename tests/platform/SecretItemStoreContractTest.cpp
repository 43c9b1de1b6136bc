#include "KeyringFixture.h"
#include "platform/SecretItemStore.h"
#include "support/FakeSecretItemStore.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace lumivane {

using Status = SecretItemStatus;

namespace {

/// A keyring that is unlocked and holds nothing of ours.
class Keyring {
public:
    virtual ~Keyring() = default;
    virtual SecretItemStore& store() = 0;
    virtual void lock() = 0;
};

class FakeKeyring final : public Keyring {
public:
    SecretItemStore& store() override { return m_store; }

    void lock() override { m_store.lock(); }

private:
    test::FakeSecretItemStore m_store;
};

class DesktopKeyring final : public Keyring {
public:
    SecretItemStore& store() override { return m_store; }

    void lock() override { m_daemon.lock(); }

private:
    test::PrivateBus m_bus;
    test::SessionBus m_session{m_bus.address().toUtf8()};
    test::KeyringDaemon m_daemon{m_bus};
    SystemClock m_clock;
    QThreadPool m_pool;
    SecretServiceItemStore m_store{m_clock, m_pool};
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Keyring>()> make;
};

} // namespace

class SecretItemStoreContract : public testing::TestWithParam<Kind> {
protected:
    SecretItemCopy copy(const SecretItemKey& key) {
        return *test::outcomeOf(store.copyMatching(key, UnlockPrompt::never, {})).value;
    }

    Status add(const SecretItemKey& key, const QByteArray& data) {
        return *test::outcomeOf(store.add(key, SecretText(data), {}, UnlockPrompt::never, {}))
                    .value;
    }

    Status update(const SecretItemKey& key, const QByteArray& data) {
        return *test::outcomeOf(store.update(key, SecretText(data), UnlockPrompt::never, {})).value;
    }

    Status remove(const SecretItemKey& key) {
        return *test::outcomeOf(store.remove(key, UnlockPrompt::never, {})).value;
    }

    static SecretItemCopy found(const QByteArray& data) {
        return {Status::success, SecretText(data)};
    }

    static SecretItemCopy none(Status status) { return {status, std::nullopt}; }

    std::unique_ptr<Keyring> keyring = GetParam().make();
    SecretItemStore& store = keyring->store();
    const SecretItemKey key{u"com.example.service"_qs, u"account"_qs};
};

TEST_P(SecretItemStoreContract, AMissingItemIsNotFound) {
    EXPECT_EQ(copy(key), none(Status::itemNotFound));
    EXPECT_EQ(update(key, "x"), Status::itemNotFound);
    EXPECT_EQ(remove(key), Status::itemNotFound);
    EXPECT_EQ(copy(key), none(Status::itemNotFound));
}

TEST_P(SecretItemStoreContract, WhatIsAddedIsFoundUpdatedAndRemoved) {
    EXPECT_EQ(add(key, "one"), Status::success);
    EXPECT_EQ(copy(key), found("one"));
    EXPECT_EQ(update(key, "two"), Status::success);
    EXPECT_EQ(copy(key), found("two"));
    EXPECT_EQ(remove(key), Status::success);
    EXPECT_EQ(copy(key), none(Status::itemNotFound));
    EXPECT_EQ(remove(key), Status::itemNotFound);
}

TEST_P(SecretItemStoreContract, ASecondItemWithOneKeyIsADuplicate) {
    EXPECT_EQ(add(key, "one"), Status::success);
    EXPECT_EQ(add(key, "two"), Status::duplicateItem);
    EXPECT_EQ(copy(key), found("one"));
}

TEST_P(SecretItemStoreContract, ServiceAndAccountBothTellItemsApart) {
    const SecretItemKey otherAccount{key.service, u"other"_qs};
    const SecretItemKey otherService{u"com.example.other"_qs, key.account};
    EXPECT_EQ(add(key, "one"), Status::success);
    EXPECT_EQ(copy(otherAccount), none(Status::itemNotFound));
    EXPECT_EQ(add(otherAccount, "two"), Status::success);
    EXPECT_EQ(add(otherService, "three"), Status::success);
    EXPECT_EQ(update(otherAccount, "2"), Status::success);
    EXPECT_EQ(remove(otherService), Status::success);
    EXPECT_EQ(copy(key), found("one"));
    EXPECT_EQ(copy(otherAccount), found("2"));
}

TEST_P(SecretItemStoreContract, AnyTextIsKept) {
    QByteArray large(200 * 1024, 'x');
    large[7] = '\n';
    for (const QByteArray& data : {QByteArray("ä 漢 \U0001F600\n\t\"\\"), large}) {
        EXPECT_EQ(add(key, data), Status::success);
        EXPECT_EQ(copy(key), found(data));
        EXPECT_EQ(remove(key), Status::success);
    }
    const SecretItemKey odd{u"ä ' \" \\ 漢"_qs, u"=&;\n"_qs};
    EXPECT_EQ(add(odd, "odd"), Status::success);
    EXPECT_EQ(copy(odd), found("odd"));
}

TEST_P(SecretItemStoreContract, ALockedItemIsNotAMissingOne) {
    add(key, "one");
    keyring->lock();
    EXPECT_EQ(copy(key), none(Status::interactionNotAllowed));
    EXPECT_EQ(update(key, "two"), Status::interactionNotAllowed);
    EXPECT_EQ(remove(key), Status::interactionNotAllowed);
}

TEST_P(SecretItemStoreContract, NothingIsAddedToALockedKeyring) {
    keyring->lock();
    EXPECT_EQ(add(key, "one"), Status::interactionNotAllowed);
}

TEST_P(SecretItemStoreContract, AStopBeforehandIsCancelledAndChangesNothing) {
    std::stop_source source;
    source.request_stop();
    const auto outcome = test::outcomeOf(
        store.add(key, SecretText("one"), {}, UnlockPrompt::never, source.get_token()));
    EXPECT_TRUE(outcome.isCancelled);
    EXPECT_EQ(copy(key), none(Status::itemNotFound));
}

INSTANTIATE_TEST_SUITE_P(
    All, SecretItemStoreContract,
    testing::Values(Kind{"Fake", [] { return std::make_unique<FakeKeyring>(); }},
                    Kind{"Desktop", [] { return std::make_unique<DesktopKeyring>(); }}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
