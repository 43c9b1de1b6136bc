// What the announcer does for assistive technology that knows no announcements.

#include "platform/AccessibleWindow.h"
#include "support/AtspiReader.h"
#include "support/EventLoop.h"
#include "support/XServer.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>
#include <signal.h>

namespace lumivane::test {

struct Listener {
    QString name;
    QString event;
};

inline QDBusArgument& operator<<(QDBusArgument& argument, const Listener& listener) {
    argument.beginStructure();
    argument << listener.name << listener.event;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, Listener& listener) {
    argument.beginStructure();
    argument >> listener.name >> listener.event;
    argument.endStructure();
    return argument;
}

} // namespace lumivane::test

Q_DECLARE_METATYPE(lumivane::test::Listener)

namespace lumivane::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr milliseconds frame{16};
constexpr milliseconds notificationTime{10000};
constexpr std::uint64_t showing = 1ULL << 25U;
const auto showingChanges = u"object:state-changed:showing"_qs;
const auto announcements = u"object:announcement"_qs;

class AtspiNotifying : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(reader.waitForApplication(window.processID())); }

    std::vector<AccessibleEvent> showingEvents(int value) const {
        std::vector<AccessibleEvent> found;
        for (const auto& event : reader.events(u"StateChanged"_qs)) {
            if (event.detail == u"showing" && event.first == value) {
                found.push_back(event);
            }
        }
        return found;
    }

    /// The notifications that began to show and are still there.
    std::vector<AccessibleNode> notifications() {
        std::vector<AccessibleNode> found;
        for (const auto& event : showingEvents(1)) {
            try {
                auto node = reader.read(event.service, event.path);
                if (node.role == u"notification") {
                    found.push_back(std::move(node));
                }
            } catch (const std::runtime_error&) {
                continue; // it is gone
            }
        }
        return found;
    }

    std::vector<QString> words() {
        std::vector<QString> names;
        for (const auto& node : notifications()) {
            names.push_back(node.name);
        }
        return names;
    }

    /// The words of all notifications once there are so many; no more are under way then, since
    /// what asks for them is answered in order.
    std::vector<QString> wordsOnceThereAre(std::size_t count) {
        waitUntil([&] { return words().size() >= count; });
        return words();
    }

    std::vector<AccessibleEvent> heard() const { return reader.events(u"Announcement"_qs); }

    XServer display;
    AccessibilityBus bus;
    AtspiReader reader{bus.address()};
    AccessibleWindow window{bus.environment(display.displayName())};
};

TEST_F(AtspiNotifying, WhereNobodyAskedForAnnouncementsTheWordsAreShownAsWell) {
    reader.listen(showingChanges);
    window.announce(u"Log in to Lumivane to analyze this screen."_qs, "high");

    ASSERT_THAT(wordsOnceThereAre(1),
                ElementsAre(u"Log in to Lumivane to analyze this screen."_qs));
    const auto notification = notifications().front();
    EXPECT_EQ(notification.description, QString());
    EXPECT_TRUE(notification.states & showing);
    EXPECT_THAT(notification.children, IsEmpty());
    EXPECT_THAT(heard(), SizeIs(1)) << "for whoever listens without saying so";
}

TEST_F(AtspiNotifying, AMediumPriorityIsShownAsWell) {
    reader.listen(showingChanges);
    window.announce(u"Copied to clipboard"_qs, "medium");

    EXPECT_THAT(wordsOnceThereAre(1), ElementsAre(u"Copied to clipboard"_qs));
}

TEST_F(AtspiNotifying, NothingIsShownWhereSomebodyHearsAnnouncementsWheneverThatChanges) {
    reader.listen(showingChanges);
    window.announce(u"shown"_qs);
    ASSERT_THAT(wordsOnceThereAre(1), ElementsAre(u"shown"_qs));

    reader.listen(announcements);
    window.announce(u"heard"_qs);
    ASSERT_TRUE(waitUntil([&] { return heard().size() == 2; }));
    reader.read(heard().back().service, heard().back().path); // the question is behind it

    reader.stopListening(announcements);
    window.announce(u"shown again"_qs);
    EXPECT_THAT(wordsOnceThereAre(2), ElementsAre(u"shown"_qs, u"shown again"_qs));
}

TEST_F(AtspiNotifying, WhoHearsAllThatHappensToObjectsHearsAnnouncements) {
    reader.listen(u"object:"_qs);
    window.announce(u"heard"_qs);
    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    reader.read(heard().back().service, heard().back().path); // the question is behind it

    reader.stopListening(u"object:"_qs);
    reader.listen(showingChanges);
    window.announce(u"shown"_qs);
    EXPECT_THAT(wordsOnceThereAre(1), ElementsAre(u"shown"_qs));
}

TEST_F(AtspiNotifying, WhatOnlyHearsOtherThingsDoesNotCount) {
    reader.listen(showingChanges);
    reader.listen(u"window:"_qs);
    reader.listen(u"object:property-change:accessible-name"_qs);
    window.announce(u"shown"_qs);

    EXPECT_THAT(wordsOnceThereAre(1), ElementsAre(u"shown"_qs));
}

TEST_F(AtspiNotifying, WithoutAnyListenerThereIsNoNotification) {
    window.announce(u"for nobody"_qs);
    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    reader.read(heard().back().service, heard().back().path); // the question is behind it

    reader.listen(showingChanges);
    window.announce(u"shown"_qs);
    ASSERT_THAT(wordsOnceThereAre(1), ElementsAre(u"shown"_qs));
    window.pass(notificationTime);
    ASSERT_TRUE(waitUntil([&] { return !showingEvents(0).empty(); }));
    EXPECT_THAT(showingEvents(0), SizeIs(1));
}

TEST_F(AtspiNotifying, ALongTextIsShownWholeAndWhatTheBusCannotCarryCostsNoOtherCharacter) {
    reader.listen(showingChanges);
    const QString text = u"Ein längerer Satz, 文字, 🙂 "_qs.repeated(1600);
    window.announce(text);
    window.announce(u"one"_qs + QChar(u'\0') + u"two"_qs);

    EXPECT_THAT(wordsOnceThereAre(2), ElementsAre(text, u"one\uFFFDtwo"_qs));
}

TEST_F(AtspiNotifying, SeveralAreShownInTheirOrderEachForItself) {
    reader.listen(showingChanges);
    window.announce(u"one"_qs);
    window.announce(u"two"_qs, "medium");
    window.announce(u"two"_qs);

    EXPECT_THAT(wordsOnceThereAre(3), ElementsAre(u"one"_qs, u"two"_qs, u"two"_qs));
}

TEST_F(AtspiNotifying, ANotificationStaysLongEnoughToBeReadAndIsThenGone) {
    reader.listen(showingChanges);
    window.announce(u"first"_qs);
    ASSERT_THAT(wordsOnceThereAre(1), SizeIs(1));
    const auto notification = notifications().front();
    window.pass(notificationTime / 2);
    window.announce(u"second"_qs);
    ASSERT_THAT(wordsOnceThereAre(2), SizeIs(2));
    window.pass(notificationTime / 2 - milliseconds(1));
    EXPECT_THAT(words(), SizeIs(2));
    EXPECT_THAT(showingEvents(0), IsEmpty());

    window.pass(milliseconds(1));
    ASSERT_TRUE(waitUntil([&] { return !showingEvents(0).empty(); }));
    EXPECT_EQ(showingEvents(0).front().path, notification.path);
    EXPECT_THROW(reader.read(notification.service, notification.path), std::runtime_error);
    EXPECT_THAT(words(), ElementsAre(u"second"_qs));
}

TEST_F(AtspiNotifying, NoMoreThanAFewAreThereAtOnceAndTheNewestAreAmongThem) {
    reader.listen(showingChanges);
    std::vector<QString> latest;
    for (int index = 0; index < 20; ++index) {
        latest.push_back(QString::number(index));
        window.announce(latest.back());
        ASSERT_TRUE(waitUntil([&] { return showingEvents(1).size() == latest.size(); }));
    }

    latest.erase(latest.begin(), latest.begin() + 4);
    EXPECT_EQ(words(), latest);
    EXPECT_THAT(showingEvents(0), SizeIs(4));
}

TEST_F(AtspiNotifying, ARegistryThatHangsHoldsNothingUpAndIsAskedNoMoreThanAFewTimes) {
    reader.listen(showingChanges);
    {
        const HeldProcess hung(reader.registryProcessID());
        for (int round = 0; round < 40; ++round) {
            EXPECT_LT(window.announce(u"text"_qs), frame);
            const std::size_t sent = round + 1;
            ASSERT_TRUE(waitUntil([&] { return heard().size() == sent; }));
        }
    }

    std::size_t later = 0;
    ASSERT_TRUE(waitUntil([&] {
        window.announce(u"again"_qs);
        ++later;
        const auto all = words();
        return !all.empty() && all.back() == u"again";
    })) << "it recovers";
    EXPECT_LE(showingEvents(1).size(), 16 + later);
}

TEST_F(AtspiNotifying, ABusThatHangsHoldsNothingUp) {
    reader.listen(showingChanges);
    {
        const HeldProcess hung(bus.processID());
        EXPECT_LT(window.announce(u"x"_qs.repeated(40000), "high", 200), frame);
    }

    ASSERT_TRUE(waitUntil([&] { return heard().size() >= 16; }));
    ASSERT_TRUE(waitUntil([&] {
        window.announce(u"again"_qs);
        const auto all = words();
        return !all.empty() && all.back() == u"again";
    })) << "it recovers";
}

/// Stands in for the registry and answers what a test tells it to.
class FakeRegistry final : public QDBusVirtualObject {
public:
    explicit FakeRegistry(const QString& address)
        : m_bus(QDBusConnection::connectToBus(address, u"registry"_qs)) {
        qDBusRegisterMetaType<Listener>();
        qDBusRegisterMetaType<QList<Listener>>();
        m_bus.registerVirtualObject(u"/org/a11y/atspi/registry"_qs, this);
    }

    ~FakeRegistry() override { QDBusConnection::disconnectFromBus(u"registry"_qs); }

    bool takeOver() { return m_bus.registerService(u"org.a11y.atspi.Registry"_qs); }

    void answer(const QVariantList& arguments) { m_answer = arguments; }

    void list(const QList<QString>& events) {
        QList<Listener> listeners;
        for (const auto& event : events) {
            listeners.push_back({u":1.7"_qs, event});
        }
        answer(QVariantList{QVariant::fromValue(listeners)});
    }

    void refuse() { m_answer.reset(); }

    int timesAsked() const { return m_timesAsked; }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() != u"GetRegisteredEvents") {
            return false;
        }
        ++m_timesAsked;
        bus.send(m_answer ? message.createReply(*m_answer)
                          : message.createErrorReply(QDBusError::Failed, u"no"_qs));
        return true;
    }

private:
    QDBusConnection m_bus;
    std::optional<QVariantList> m_answer;
    int m_timesAsked = 0;
};

class AtspiNotifyingByAnswer : public AtspiNotifying {
protected:
    void SetUp() override {
        AtspiNotifying::SetUp();
        reader.listen(showingChanges); // the toolkit sends what was once asked for
        window.announce(u"shown"_qs);
        ASSERT_THAT(wordsOnceThereAre(1), SizeIs(1));
        window.pass(notificationTime);
        ::kill(static_cast<pid_t>(reader.registryProcessID()), SIGKILL);
        ASSERT_TRUE(waitUntil([this] { return registry.takeOver(); }));
    }

    /// Announces, and then once more with an answer that is known to show the words.
    std::vector<QString> wordsAfterAnnouncing() {
        const auto asked = registry.timesAsked();
        window.announce(u"in question"_qs);
        waitUntil([&] { return registry.timesAsked() > asked; });
        registry.list({u"Object:StateChanged:Showing"_qs});
        window.announce(u"last"_qs);
        waitUntil([this] {
            const auto all = words();
            return !all.empty() && all.back() == u"last";
        });
        return words();
    }

    FakeRegistry registry{bus.address()};
};

TEST_F(AtspiNotifyingByAnswer, AClearAnswerIsTakenAtItsWord) {
    registry.list({u"Object:StateChanged:Showing"_qs, u"Window::"_qs, u"Focus::"_qs, QString(),
                   u"Object:AnnouncementOfMine:"_qs, u"Announcement"_qs});
    EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"in question"_qs, u"last"_qs));
}

TEST_F(AtspiNotifyingByAnswer, EveryWayToNameAnnouncementsCounts) {
    for (const auto& event : {u"Object:Announcement:"_qs, u"object:announcement"_qs,
                              u"Object:Announcement"_qs, u"Object::"_qs, u"object"_qs}) {
        registry.list({u"Object:StateChanged:Showing"_qs, event});
        EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"last"_qs)) << event.toStdString();
        window.pass(notificationTime);
    }
}

TEST_F(AtspiNotifyingByAnswer, AnAnswerThatIsNoneShowsNothing) {
    registry.refuse();
    EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"last"_qs)) << "an error";
    for (const auto& strange :
         {QVariantList(), QVariantList{u"Object:StateChanged:Showing"_qs}, QVariantList{7},
          QVariantList{QStringList{u":1.7"_qs, u"Object:StateChanged:Showing"_qs}},
          QVariantList{QVariant::fromValue(QList<Listener>{{u":1.7"_qs, u"Window::"_qs}}), 7}}) {
        window.pass(notificationTime);
        registry.answer(strange);
        EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"last"_qs));
    }
}

TEST_F(AtspiNotifyingByAnswer, AListOfNobodyOrOfTooManyShowsNothing) {
    registry.list(QList<QString>());
    EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"last"_qs));
    window.pass(notificationTime);
    registry.list(QList<QString>(4097, u"Object:StateChanged:Showing"_qs));
    EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"last"_qs));
    window.pass(notificationTime);
    registry.list(QList<QString>(4096, u"Object:StateChanged:Showing"_qs));
    EXPECT_THAT(wordsAfterAnnouncing(), ElementsAre(u"in question"_qs, u"last"_qs));
}

} // namespace
} // namespace lumivane::test
