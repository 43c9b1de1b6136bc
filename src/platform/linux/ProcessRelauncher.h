#pragma once

#include "async/Clock.h"
#include "platform/Relauncher.h"
#include "platform/linux/ReplacementProcess.h"

#include <chrono>
#include <memory>
#include <stdexcept>

namespace lumivane {

class SessionInstance;

/// Why there is no replacement.
class RelaunchError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The old instance's half of a relaunch; Replacement is the other one. Main thread.
///
/// | old instance                     | new instance                                    |
/// |----------------------------------|-------------------------------------------------|
/// | starts the program               | comes up to its application object              |
/// |                                  | says `running`                                  |
/// | steps aside, says `yours`        |                                                 |
/// | and sends the lock               | takes the place, says `granted`                 |
/// | lets go of the lock, and returns | waits for the end of the old process, then acts |
///
/// The lock is held by the one, by both, then by the other, so a third start in the middle finds
/// the place taken at every moment. Where the new instance dies, goes silent or talks nonsense, it
/// is ended, and the old one, which had the lock all along, is reachable again.
class ProcessRelauncher final : public Relauncher {
public:
    static constexpr std::chrono::seconds defaultPatience{10};

    /// `instance` has the place; it and `clock` outlive the relauncher. `patience` bounds all steps
    /// together.
    ProcessRelauncher(SessionInstance& instance, ProgramCommand command, Clock& clock,
                      std::chrono::nanoseconds patience = defaultPatience);

    /// Kills a replacement that has not taken over yet.
    ~ProcessRelauncher() override;

    /// Throws RelaunchError, or std::system_error where the program cannot be started. One at a
    /// time: a second call while one is under way fails, and nothing else happens.
    QCoro::Task<void> startReplacement() override;

private:
    struct HandOver;

    static QCoro::Task<void> run(std::shared_ptr<HandOver> handOver);
    static QCoro::Task<void> changeHands(std::shared_ptr<HandOver> handOver);
    static QCoro::Task<void> expect(std::shared_ptr<HandOver> handOver, HandOverWord word);

    SessionInstance& m_instance;
    ProgramCommand m_command;
    Clock& m_clock;
    std::chrono::nanoseconds m_patience;
    std::shared_ptr<HandOver> m_handOver; ///< under way, shared with its flow
};

} // namespace lumivane
