#pragma once

#include "async/Clock.h"
#include "platform/linux/HandOverChannel.h"
#include "platform/linux/OwnedDescriptor.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>
#include <qcoro/qcorotask.h>

#include <sys/types.h>

#include <chrono>
#include <stop_token>

namespace lumivane {

/// What starts a program.
struct ProgramCommand {
    QString program; ///< a whole path
    QStringList arguments;
    QByteArrayList environment = presentEnvironment(); ///< each "NAME=value"

    /// What this process would hand on now. A program sets variables for itself, so it asks before.
    static QByteArrayList presentEnvironment();

    /// This program as it is installed now, which may be newer than what runs, with the switches
    /// of `arguments` (all of this process's, the program's name first), in the surroundings that
    /// this process was started in. Addresses it was to open are left out, and so are the switches
    /// of a relaunch and of a start by the session: this one is its user's wish.
    ///
    /// `program` is empty, and cannot be started, where `link` does not tell it.
    static ProgramCommand ofThisProcess(const QStringList& arguments,
                                        const QByteArrayList& environment,
                                        const QString& link = QStringLiteral("/proc/self/exe"));
};

/// Ends when the descriptor can be read, with true, or after `limit`, with false. Main thread.
QCoro::Task<bool> becomesReadable(int descriptor, Clock& clock, std::chrono::nanoseconds limit,
                                  std::stop_token stop);

/// A program started in a session of its own, which outlives this one. Until `letGo` it is this
/// process's to end: it is killed when the object goes. Main thread.
class ReplacementProcess {
public:
    /// It gets the switch that names `line`, its standard output and error are this one's, and
    /// nothing else is open in it. Throws std::system_error.
    ReplacementProcess(const ProgramCommand& command, const HandOverChannel& line);
    ~ReplacementProcess();
    ReplacementProcess(const ReplacementProcess&) = delete;
    ReplacementProcess& operator=(const ReplacementProcess&) = delete;

    /// Asks it to end, kills it when it has not after `grace`, and returns when it is gone.
    QCoro::Task<void> end(Clock& clock, std::chrono::nanoseconds grace, std::stop_token stop);

    /// Kills it and waits for its end, which the system does not put off.
    void kill();

    /// From now on its life is its own.
    void letGo() { m_processID = 0; }

private:
    pid_t m_processID = 0;
    OwnedDescriptor m_handle; ///< readable once it has ended
};

} // namespace lumivane
