#include "platform/linux/AutostartLoginItem.h"
#include "support/FakeLoginItem.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace lumivane {

namespace {

/// A session with a login item, as its user can touch it from outside.
class Session {
public:
    virtual ~Session() = default;

    virtual LoginItem& item() = 0;
    virtual void turnOff() = 0;
    virtual void makeImpossible() = 0;
};

class FakeSession final : public Session {
public:
    LoginItem& item() override { return m_item; }

    void turnOff() override { m_item.current = LoginItemStatus::requiresApproval; }

    void makeImpossible() override { m_item.failure = std::errc::not_a_directory; }

private:
    test::FakeLoginItem m_item;
};

class AutostartSession final : public Session {
public:
    LoginItem& item() override { return m_item; }

    void turnOff() override {
        QFile file(m_item.path());
        EXPECT_TRUE(file.open(QIODevice::Append));
        file.write("Hidden=true\n");
    }

    void makeImpossible() override {
        QFile file(m_folder.filePath(u"config"_qs));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }

private:
    QTemporaryDir m_folder;
    AutostartLoginItem m_item{m_folder.filePath(u"config"_qs), u"/bin/sh"_qs, {}};
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Session>()> make;
};

} // namespace

class LoginItemContract : public testing::TestWithParam<Kind> {
protected:
    std::unique_ptr<Session> session = GetParam().make();
    LoginItem& item = session->item();
};

TEST_P(LoginItemContract, IsNotRegisteredAtFirst) {
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
}

TEST_P(LoginItemContract, RegisteringEnablesAndDoesSoAgain) {
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_P(LoginItemContract, UnregisteringRemovesAndDoesSoAgain) {
    item.unregisterItem();
    item.registerItem();
    item.unregisterItem();
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.unregisterItem();
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
}

TEST_P(LoginItemContract, WhatTheUserTurnedOffIsSeenAndCanBeTurnedOnAgain) {
    item.registerItem();
    session->turnOff();
    EXPECT_EQ(item.status(), LoginItemStatus::requiresApproval);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_P(LoginItemContract, WhatTheUserTurnedOffCanBeRemoved) {
    item.registerItem();
    session->turnOff();
    item.unregisterItem();
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
}

TEST_P(LoginItemContract, ARegistrationThatFailsSaysWhyAndChangesNothing) {
    session->makeImpossible();
    try {
        item.registerItem();
        FAIL() << "nothing was raised";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::make_error_code(std::errc::not_a_directory));
    }
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
}

INSTANTIATE_TEST_SUITE_P(
    All, LoginItemContract,
    testing::Values(Kind{"Fake", [] { return std::make_unique<FakeSession>(); }},
                    Kind{"Autostart", [] { return std::make_unique<AutostartSession>(); }}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
