#include "RefreshProcessFixture.h"

#include <algorithm>
#include <iostream>

namespace lumivane {

using test::RefresherProcess;

namespace {

struct KillStep {
    const char* name;
    const char* title;
    const char* step; ///< at which the process stands still; none: the service holds its answer
};

/// LUMIVANE_REFRESH_KILLS, or a few.
int killCount() {
    constexpr int few = 10;
    bool isSet = false;
    const int wanted = qEnvironmentVariableIntValue("LUMIVANE_REFRESH_KILLS", &isSet);
    return isSet ? std::max(wanted, 1) : few;
}

} // namespace

/// The process ends in the middle of a refresh, and the next one finds what it left.
class RefreshKillTest : public test::RefreshProcessFixture,
                        public testing::WithParamInterface<KillStep> {
protected:
    void killOne() {
        const char* step = GetParam().step;
        if (step != nullptr) {
            RefresherProcess process(bus, start(QString::fromLatin1(step)));
            ASSERT_TRUE(process.reaches(step));
            process.kill();
            return;
        }
        const std::size_t before = server.refreshRequests().size();
        server.holdRefreshes();
        RefresherProcess process(bus, start());
        ASSERT_TRUE(test::waitUntil([&] { return server.refreshRequests().size() > before; }));
        process.kill();
        server.release();
    }
};

TEST_P(RefreshKillTest, TheNextStartIsSignedInWithoutASecondExchange) {
    const int kills = killCount();
    int signedIn = 0;
    for (int kill = 1; kill <= kills; ++kill) {
        killOne();
        const QByteArray number = QByteArray::number(kill);
        signedIn += nextStart() == "access-" + number ? 1 : 0;
        ASSERT_EQ(server.exchangeCount(), static_cast<std::size_t>(kill));
        ASSERT_EQ(stored(), "refresh-" + number);
    }
    EXPECT_EQ(signedIn, kills);
    std::cout << "| " << GetParam().title << " | " << kills << " | " << signedIn << " | "
              << server.exchangeCount() << " | " << server.refreshRequests().size() << " |\n";
}

INSTANTIATE_TEST_SUITE_P(
    Steps, RefreshKillTest,
    testing::Values(KillStep{"BeforeThePreWrite", "before the pre-write", "before-pre-write"},
                    KillStep{"AfterThePreWrite", "after the pre-write", "pre-written"},
                    KillStep{"AfterTheRequestLeft", "after the request left", nullptr},
                    KillStep{"AfterTheAnswer", "after the answer", "answered"},
                    KillStep{"BeforeTheLastWrite", "before the last write", "before-last-write"}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
