#include "platform/linux/DesktopUserNotifications.h"
#include "support/FakeUserNotifications.h"
#include "support/ManualClock.h"
#include "support/NotificationDesktop.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace lumivane {

namespace {

using Words = QList<std::pair<QString, QString>>; ///< title and body

QCoro::Task<bool> ended(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

/// A desktop that shows notifications until it stops to.
class Place {
public:
    virtual ~Place() = default;

    virtual UserNotifications& notifications() = 0;
    virtual Words shown(qsizetype count) = 0;
    virtual void stopShowing() = 0;
};

class FakePlace final : public Place {
public:
    UserNotifications& notifications() override { return m_fake; }

    Words shown(qsizetype) override {
        Words words;
        for (const UserNotification& notification : m_fake.asked) {
            words.append({notification.title, notification.body});
        }
        return words;
    }

    void stopShowing() override {
        m_fake.authorization.answerWith(false);
        m_fake.delivery.failWith(std::runtime_error("nobody shows it"));
    }

private:
    test::FakeUserNotifications m_fake;
};

class DunstPlace final : public Place {
public:
    UserNotifications& notifications() override { return m_desktop; }

    Words shown(qsizetype count) override {
        Words words;
        for (const DunstDesktop::Shown& notification : m_dunst.shown(count)) {
            words.append({notification.title, notification.body});
        }
        return words;
    }

    void stopShowing() override { m_dunst.end(); }

private:
    DunstDesktop m_dunst;
    test::ManualClock m_clock;
    DesktopUserNotifications m_desktop{m_dunst.bus().connect(), m_clock};
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Place>()> make;
};

} // namespace

class UserNotificationsContract : public testing::TestWithParam<Kind> {
protected:
    test::Outcome<bool> add(const QString& title, const QString& body) {
        return test::outcomeOf(ended(place->notifications().add({title + body, title, body, {}})));
    }

    std::unique_ptr<Place> place = GetParam().make();
};

TEST_P(UserNotificationsContract, TheRightIsGivenWhereTheyAreShown) {
    EXPECT_EQ(test::outcomeOf(place->notifications().requestAuthorization()).value, true);
    EXPECT_EQ(test::outcomeOf(place->notifications().requestAuthorization()).value, true);
}

TEST_P(UserNotificationsContract, EachIsShownInItsWordsInOrder) {
    EXPECT_TRUE(add(u"One"_qs, u"<i>first</i> & more"_qs).value);
    EXPECT_TRUE(add(u"Two"_qs, u"grün 漢 \U0001F600"_qs).value);
    EXPECT_TRUE(add(u"Two"_qs, u"grün 漢 \U0001F600"_qs).value);
    EXPECT_EQ(place->shown(3), (Words{{u"One"_qs, u"<i>first</i> & more"_qs},
                                      {u"Two"_qs, u"grün 漢 \U0001F600"_qs},
                                      {u"Two"_qs, u"grün 漢 \U0001F600"_qs}}));
}

TEST_P(UserNotificationsContract, WhereNobodyShowsThemTheRightIsRefusedAndAddingFails) {
    place->stopShowing();
    const auto asked = test::outcomeOf(place->notifications().requestAuthorization());
    EXPECT_EQ(asked.value, false);
    const auto told = add(u"One"_qs, u"lost"_qs);
    EXPECT_FALSE(told.value);
    EXPECT_TRUE(told.errorAs<std::runtime_error>());
}

INSTANTIATE_TEST_SUITE_P(All, UserNotificationsContract,
                         testing::Values(Kind{"Fake", [] { return std::make_unique<FakePlace>(); }},
                                         Kind{"Dunst",
                                              [] { return std::make_unique<DunstPlace>(); }}),
                         [](const auto& info) { return info.param.name; });

} // namespace lumivane
