#include "platform/linux/HostnameService.h"

#include "NameKeeper.h"
#include "async/PoolJob.h"
#include "support/Outcome.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace lumivane {

using test::waitUntil;

class HostnameServiceTest : public testing::Test {
protected:
    ~HostnameServiceTest() override {
        source.request_stop();
        pool.waitForDone();
    }

    std::optional<QString> ask(const QString& address) {
        const auto job = [address](const std::stop_token& stop) {
            return askPrettyHostname(address, stop);
        };
        return *test::outcomeOf(runOnPool(pool, job, source.get_token())).value;
    }

    void offer(QObject& keeper) {
        QDBusConnection connection = bus.connect();
        connection.registerObject(u"/org/freedesktop/hostname1"_qs, &keeper,
                                  QDBusConnection::ExportAllProperties);
        connection.registerService(u"org.freedesktop.hostname1"_qs);
    }

    test::PrivateBus bus;
    QThreadPool pool;
    std::stop_source source;
};

TEST_F(HostnameServiceTest, GivesTheNameThatTheUserGave) {
    test::NameKeeper keeper;
    offer(keeper);
    EXPECT_EQ(ask(bus.address()), u"Jörg’s Studio"_qs);
}

TEST_F(HostnameServiceTest, WithoutAServiceThereIsNone) {
    EXPECT_EQ(ask(bus.address()), std::nullopt);
    QObject somethingElse;
    offer(somethingElse);
    EXPECT_EQ(ask(bus.address()), std::nullopt);
}

TEST_F(HostnameServiceTest, WithoutABusThereIsNone) {
    for (const auto* address : {"", "x", "unix:path=/nowhere/bus", "disabled:"}) {
        EXPECT_EQ(ask(QString::fromLatin1(address)), std::nullopt) << address;
    }
}

TEST_F(HostnameServiceTest, AStopEndsTheWaitForABusThatHangs) {
    const test::HeldProcess held(bus.processID());
    const auto job = [address = bus.address()](const std::stop_token& stop) {
        return askPrettyHostname(address, stop);
    };
    const auto outcome = test::watch(runOnPool(pool, job, source.get_token()));
    waitUntil([this] { return pool.activeThreadCount() == 1; });
    source.request_stop();
    EXPECT_TRUE(waitUntil([this] { return pool.activeThreadCount() == 0; }));
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

} // namespace lumivane
