#include "telemetry/LumivaneSignpost.h"

#include "async/Cancelled.h"
#include "async/MainThread.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "telemetry/LumivaneLog.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace lumivane {

using namespace std::chrono_literals;
using LumivaneSignpost::measure;
using LumivaneSignpost::Measured;

namespace {

using Intervals = std::vector<std::string>;

QCoro::Task<int> sleepThenGive(Clock* clock, std::chrono::nanoseconds delay, int value,
                               std::stop_token stop) {
    co_await clock->sleep(delay, std::move(stop));
    co_return value;
}

QCoro::Task<void> sleepOnly(Clock* clock, std::chrono::nanoseconds delay, std::stop_token stop) {
    co_await clock->sleep(delay, std::move(stop));
}

QCoro::Task<int> failAfter(Clock* clock, std::chrono::nanoseconds delay) {
    co_await clock->sleep(delay, {});
    throw std::runtime_error("broken");
}

struct Ending {
    std::optional<Measured<int>> measured;
    std::string error;
    bool wasCancelled = false;
    bool onMainThread = false;
};

QCoro::Task<void> await(QCoro::Task<Measured<int>> task, Ending* ending) {
    try {
        ending->measured = co_await std::move(task);
    } catch (const std::exception& error) {
        ending->error = error.what();
    } catch (const Cancelled&) {
        ending->wasCancelled = true;
    }
    ending->onMainThread = isMainThread();
}

QCoro::Task<void> awaitTime(QCoro::Task<std::int64_t> task, std::optional<std::int64_t>* time) {
    *time = co_await std::move(task);
}

/// Remembers which identifiers open and close.
class IdentifierSink final : public LogSink {
public:
    void write(std::string_view, std::string_view, LogLevel, std::string_view) override {}

    void beginInterval(std::string_view, std::uint64_t identifier) override {
        open.insert(identifier);
        all.insert(identifier);
    }

    void endInterval(std::string_view, std::uint64_t identifier) override {
        unmatched += open.erase(identifier) == 1 ? 0 : 1;
    }

    std::set<std::uint64_t> open;
    std::set<std::uint64_t> all;
    int unmatched = 0;
};

} // namespace

class LumivaneSignpostTest : public testing::Test {
protected:
    void start(std::function<QCoro::Task<int>()> operation) {
        await(measure<int>(LumivaneSignpost::ocr, clock, std::move(operation)), &ending);
    }

    test::ManualClock clock;
    test::LogCapture log;
    std::stop_source source;
    Ending ending;
};

TEST_F(LumivaneSignpostTest, StagesHaveTheirNames) {
    EXPECT_EQ(LumivaneSignpost::capture, "capture");
    EXPECT_EQ(LumivaneSignpost::ocr, "ocr");
    EXPECT_EQ(LumivaneSignpost::encode, "encode");
    EXPECT_EQ(LumivaneSignpost::network, "network");
    EXPECT_EQ(LumivaneSignpost::warmUp, "warmUp");
}

TEST_F(LumivaneSignpostTest, GivesTheValueAndItsWholeMilliseconds) {
    start([this] { return sleepThenGive(&clock, 1234ms + 999us, 7, {}); });
    EXPECT_EQ(log.intervals(), (Intervals{"begin ocr"}));
    clock.advance(2s);
    ASSERT_TRUE(ending.measured);
    EXPECT_EQ(ending.measured->value, 7);
    EXPECT_EQ(ending.measured->milliseconds, 1234);
    EXPECT_EQ(log.intervals(), (Intervals{"begin ocr", "end ocr"}));
    EXPECT_TRUE(ending.onMainThread);
}

TEST_F(LumivaneSignpostTest, AnOperationThatThrowsStillClosesItsInterval) {
    start([this] { return failAfter(&clock, 1s); });
    clock.advance(1s);
    EXPECT_EQ(ending.error, "broken");
    EXPECT_EQ(log.intervals(), (Intervals{"begin ocr", "end ocr"}));
}

TEST_F(LumivaneSignpostTest, AnOperationThatThrowsAtOnceStillClosesItsInterval) {
    start([]() -> QCoro::Task<int> { throw std::runtime_error("at once"); });
    test::drainEvents();
    EXPECT_EQ(ending.error, "at once");
    EXPECT_EQ(log.intervals(), (Intervals{"begin ocr", "end ocr"}));
}

TEST_F(LumivaneSignpostTest, ACancelledOperationStillClosesItsInterval) {
    start([this] { return sleepThenGive(&clock, 1s, 7, source.get_token()); });
    source.request_stop();
    test::drainEvents();
    EXPECT_TRUE(ending.wasCancelled);
    EXPECT_EQ(log.intervals(), (Intervals{"begin ocr", "end ocr"}));
}

TEST_F(LumivaneSignpostTest, AnOperationWithoutAValueGivesItsTime) {
    std::optional<std::int64_t> time;
    awaitTime(
        measure(LumivaneSignpost::warmUp, clock, [this] { return sleepOnly(&clock, 80ms, {}); }),
        &time);
    clock.advance(1s);
    EXPECT_EQ(time, 80);
    EXPECT_EQ(log.intervals(), (Intervals{"begin warmUp", "end warmUp"}));
}

TEST_F(LumivaneSignpostTest, IntervalsThatOverlapAreToldApart) {
    const auto sink = std::make_shared<IdentifierSink>();
    const auto before = LumivaneLog::setSink(sink);
    {
        const LumivaneSignpost::Interval first(LumivaneSignpost::ocr);
        const LumivaneSignpost::Interval second(LumivaneSignpost::ocr);
        EXPECT_EQ(sink->open.size(), 2U);
    }
    LumivaneLog::setSink(before);
    EXPECT_EQ(sink->all.size(), 2U);
    EXPECT_TRUE(sink->open.empty());
    EXPECT_EQ(sink->unmatched, 0);
}

TEST_F(LumivaneSignpostTest, AnIntervalClosesInTheSinkThatOpenedIt) {
    const auto first = std::make_shared<IdentifierSink>();
    const auto second = std::make_shared<IdentifierSink>();
    const auto before = LumivaneLog::setSink(first);
    {
        const LumivaneSignpost::Interval interval(LumivaneSignpost::ocr);
        LumivaneLog::setSink(second);
    }
    LumivaneLog::setSink(before);
    EXPECT_TRUE(first->open.empty());
    EXPECT_EQ(second->unmatched, 0);
}

} // namespace lumivane
