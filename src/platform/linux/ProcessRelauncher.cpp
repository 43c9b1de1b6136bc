#include "platform/linux/ProcessRelauncher.h"

#include "platform/linux/SessionInstance.h"

#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

namespace lumivane {

namespace {

constexpr std::chrono::seconds endGrace{1};

} // namespace

struct ProcessRelauncher::HandOver {
    HandOver(SessionInstance& placeHolder, Clock& time, std::chrono::nanoseconds patience)
        : instance(placeHolder)
        , clock(time)
        , deadline(time.now() + patience) {}

    SessionInstance& instance;
    Clock& clock;
    MonotonicInstant deadline;
    HandOverChannel line;
    std::optional<ReplacementProcess> process;
    std::stop_source stop;
    bool hasSteppedAside = false;
};

ProcessRelauncher::ProcessRelauncher(SessionInstance& instance, ProgramCommand command,
                                     Clock& clock, std::chrono::nanoseconds patience)
    : m_instance(instance)
    , m_command(std::move(command))
    , m_clock(clock)
    , m_patience(patience) {}

ProcessRelauncher::~ProcessRelauncher() {
    if (m_handOver && m_handOver->process) {
        m_handOver->stop.request_stop();
        m_handOver->process->kill();
    }
}

QCoro::Task<void> ProcessRelauncher::startReplacement() {
    if (m_handOver.use_count() > 1) {
        throw RelaunchError("a relaunch is under way");
    }
    m_handOver = std::make_shared<HandOver>(m_instance, m_clock, m_patience);
    auto ends = HandOverChannel::makePair();
    m_handOver->line = std::move(ends.first);
    m_handOver->process.emplace(m_command, ends.second);
    ends.second.close();
    co_await run(m_handOver);
}

QCoro::Task<void> ProcessRelauncher::run(std::shared_ptr<HandOver> handOver) {
    std::exception_ptr failure;
    try {
        co_await changeHands(handOver);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    if (failure) {
        handOver->line.close();
        co_await handOver->process->end(handOver->clock, endGrace, handOver->stop.get_token());
        if (handOver->hasSteppedAside) {
            handOver->instance.stepBack();
        }
        std::rethrow_exception(failure);
    }
    handOver->instance.leave();
    handOver->process->letGo();
    // Never closed: the replacement hears the end of this process in it.
    handOver->line.release();
}

QCoro::Task<void> ProcessRelauncher::changeHands(std::shared_ptr<HandOver> handOver) {
    co_await expect(handOver, HandOverWord::running);
    handOver->hasSteppedAside = true;
    co_await handOver->instance.stepAside(handOver->stop.get_token());
    if (!handOver->line.send(HandOverWord::yours, handOver->instance.lockDescriptor())) {
        throw RelaunchError("the replacement is gone");
    }
    co_await expect(handOver, HandOverWord::granted);
}

QCoro::Task<void> ProcessRelauncher::expect(std::shared_ptr<HandOver> handOver, HandOverWord word) {
    const auto left = handOver->deadline - handOver->clock.now();
    if (left <= std::chrono::nanoseconds::zero() ||
        !co_await becomesReadable(handOver->line.descriptor(), handOver->clock, left,
                                  handOver->stop.get_token())) {
        throw RelaunchError("the replacement does not answer");
    }
    HandOverChannel::Message message;
    if (handOver->line.read(message) != HandOverChannel::Reading::message || message.word != word) {
        throw RelaunchError("the replacement has given up");
    }
}

} // namespace lumivane
