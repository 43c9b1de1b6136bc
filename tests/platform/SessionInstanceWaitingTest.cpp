// Starts that meet an instance which is about to go.

#include "InstancePrograms.h"
#include "async/SystemClock.h"
#include "platform/linux/SessionInstance.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace lumivane::test {

using namespace std::chrono_literals;
using Claim = ApplicationInstance::Claim;

/// Calls back each time somebody looks at it, with the number of the look.
class LookingClock final : public Clock {
public:
    explicit LookingClock(std::function<void(int)> onLook)
        : m_onLook(std::move(onLook)) {}

    MonotonicInstant now() const override {
        m_onLook(++m_looks);
        return m_clock.now();
    }

    QDateTime wallNow() const override { return m_clock.wallNow(); }

    std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                      std::function<void()> callback) override {
        return m_clock.after(delay, std::move(callback));
    }

    std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                      std::function<void()> callback) override {
        return m_clock.every(interval, std::move(callback));
    }

private:
    std::function<void(int)> m_onLook;
    mutable int m_looks = 0;
    SystemClock m_clock;
};

QDBusConnection noBus() { return QDBusConnection(u"none"_qs); }

class SessionInstanceWaiting : public InstancePrograms, public testing::WithParamInterface<bool> {
protected:
    SessionInstanceWaiting() {
        if (GetParam()) {
            startBus();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Bus, SessionInstanceWaiting, testing::Bool(),
                         [](const auto& each) { return each.param ? "WithABus" : "WithoutABus"; });

TEST_P(SessionInstanceWaiting, APlaceThatGetsFreeIsClaimedByWhoeverWaits) {
    const auto first = startFirst();
    LookingClock clock([&](int look) {
        if (look == 5) {
            first->kill();
        }
    });
    SessionInstance instance(place(), GetParam() ? m_bus->connect() : noBus(), clock);
    EXPECT_EQ(instance.claimWhenFree(), Claim::granted);
}

TEST_P(SessionInstanceWaiting, WhoeverWaitsForAPlaceLeavesItsInstanceAlone) {
    const auto first = startFirst();
    SystemClock clock;
    SessionInstance instance(place(), GetParam() ? m_bus->connect() : noBus(), clock, 50ms);
    const MonotonicInstant start = clock.now();
    EXPECT_EQ(instance.claimWhenFree(), Claim::taken);
    EXPECT_GE(clock.now() - start, 50ms);
    EXPECT_EQ(ask(*first, "release"), "released"); // and nothing before
    EXPECT_EQ(instance.claimWhenFree(), Claim::granted);
}

/// An instance that answers the first call with an error, and takes the second.
class LeavingObject final : public QDBusVirtualObject {
public:
    explicit LeavingObject(QString error)
        : m_error(std::move(error)) {}

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        ++calls;
        return connection.send(calls == 1 ? message.createErrorReply(m_error, u"gone"_qs)
                                          : message.createReply());
    }

    int calls = 0;

private:
    QString m_error;
};

class SessionInstanceLeaving : public InstancePrograms {};

TEST_F(SessionInstanceLeaving, AnInstanceThatLeavesTheBusInTheMiddleIsAskedForAgain) {
    startBus();
    for (const QString& error : {u"org.freedesktop.DBus.Error.UnknownObject"_qs,
                                 u"org.freedesktop.DBus.Error.NoReply"_qs}) {
        QDBusConnection connection = m_bus->connect();
        LeavingObject object(error);
        ASSERT_TRUE(connection.registerVirtualObject(u"/com/marnoth/Lumivane"_qs, &object));
        ASSERT_TRUE(
            connection.registerService(u"com.marnoth.Lumivane.Session_"_qs + place().name()));
        const auto visitor = start();
        EXPECT_EQ(ask(*visitor, "claim"), "taken");
        EXPECT_EQ(ask(*visitor, "activate"), "reached") << error.toStdString();
        EXPECT_EQ(object.calls, 2);
        QDBusConnection::disconnectFromBus(connection.name());
    }
}

} // namespace lumivane::test
