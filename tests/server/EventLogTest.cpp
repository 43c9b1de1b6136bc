#include "server/application/EventLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <thread>

namespace lumivane::service {

using testing::HasSubstr;

class EventLogTest : public testing::Test {
protected:
    EventLogTest() { log.addTo(metrics); }

    static LoginEvent failed(LoginFailure failure) {
        return {AuthProvider::google, failure, "request-1"};
    }

    std::vector<std::string> lines;
    EventLog log{[this](const std::string& line) { lines.push_back(line); }};
    ServerMetrics metrics;
};

TEST_F(EventLogTest, AFailureOfTheStoreIsSaidAndCounted) {
    EXPECT_THAT(metrics.text(),
                HasSubstr("# TYPE lumivane_store_failures_total counter\n"
                          "lumivane_store_failures_total{case=\"busy\"} 0\n"
                          "lumivane_store_failures_total{case=\"unavailable\"} 0\n"));
    log.storeFailed({StoreError::Case::unavailable, "the disk is full"});
    log.storeFailed({StoreError::Case::unavailable, "the disk is full"});
    log.storeFailed({StoreError::Case::busy, "others held the database for too long"});

    EXPECT_EQ(lines.front(), "store failed case=unavailable reason=\"the disk is full\"");
    EXPECT_EQ(lines.size(), 3U);
    EXPECT_THAT(metrics.text(),
                HasSubstr("lumivane_store_failures_total{case=\"busy\"} 1\n"
                          "lumivane_store_failures_total{case=\"unavailable\"} 2\n"));
}

TEST_F(EventLogTest, ALoginSaysHowFarItCame) {
    log.loginEnded({AuthProvider::github, std::nullopt, "request-1"});
    log.loginEnded(failed({LoginRefusal::failed, LoginStage::token, LoginFault::status, 401}));
    log.loginEnded(failed({LoginRefusal::unavailable, LoginStage::keys, LoginFault::timedOut}));
    log.loginEnded(failed({LoginRefusal::denied}));

    EXPECT_EQ(lines, (std::vector<std::string>{
                         "login provider=github outcome=proved request_id=request-1",
                         "login provider=google outcome=failed step=token fault=status status=401 "
                         "request_id=request-1",
                         "login provider=google outcome=unavailable step=keys fault=timed_out "
                         "request_id=request-1",
                         "login provider=google outcome=denied step=callback fault=content "
                         "request_id=request-1"}));
    const std::string name = "lumivane_logins_total{provider=";
    EXPECT_THAT(metrics.text(), HasSubstr(name + "\"github\",outcome=\"proved\"} 1\n" + name +
                                          "\"google\",outcome=\"denied\"} 1\n" + name +
                                          "\"google\",outcome=\"failed\"} 1\n" + name +
                                          "\"google\",outcome=\"unavailable\"} 1\n"));
}

TEST_F(EventLogTest, EveryStageAndFaultHasAWordOfItsOwn) {
    std::set<std::string_view> words;
    using enum LoginStage;
    for (const LoginStage stage : {callback, token, keys, identity, user, emails}) {
        words.insert(rawValue(stage));
    }
    EXPECT_EQ(words.size(), 6U);
    words.clear();
    for (const LoginFault fault :
         {LoginFault::content, LoginFault::status, LoginFault::unreachable, LoginFault::untrusted,
          LoginFault::timedOut, LoginFault::malformed}) {
        words.insert(rawValue(fault));
    }
    EXPECT_EQ(words.size(), 6U);
}

TEST_F(EventLogTest, ManyThreadsCountTogether) {
    std::mutex mutex;
    EventLog shared([&mutex](const std::string&) { const std::lock_guard lock(mutex); });
    ServerMetrics all;
    shared.addTo(all);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&shared] {
                for (int call = 0; call < 250; ++call) {
                    shared.storeFailed({StoreError::Case::busy, "busy"});
                }
            });
        }
    }
    EXPECT_THAT(all.text(), HasSubstr("lumivane_store_failures_total{case=\"busy\"} 1000\n"));
}

} // namespace lumivane::service
