#pragma once

#include "platform/linux/InstancePlace.h"
#include "platform/linux/OwnedDescriptor.h"
#include "support/PrivateBus.h"

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>
#include <qcoro/qcorotask.h>

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// A program that InstanceProgramMain.cpp is, with a standard input of its own.
class InstanceProgram {
public:
    explicit InstanceProgram(const QStringList& arguments);
    ~InstanceProgram();

    pid_t processID() const { return m_processID; }

    void tell(const QByteArray& command);

    /// As `kill -9`; returns once it is gone.
    void kill();

    void waitForEnd();

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

private:
    QProcess m_process;
    pid_t m_processID = 0;
};

/// A session of a test's own, with or without a bus, and the programs in it.
///
/// Each line that a program writes is kept with the program's process. Whatever of them still lives
/// at the end, replacements included, is killed.
class InstancePrograms : public testing::Test {
protected:
    InstancePrograms();
    ~InstancePrograms() override;

    /// Programs that are started from now on, and this process, are on a bus.
    void startBus();

    /// Programs that are started from now on are not.
    static void leaveBus();
    void returnToBus();

    static void setVariable(const char* name, const QByteArray& value);

    std::unique_ptr<InstanceProgram> start(const QStringList& arguments = {});

    /// Starts one, lets it claim the place, and expects that it gets it.
    std::unique_ptr<InstanceProgram> startFirst();

    /// Waits for a line of the process that begins so, and forgets it with all before it of that
    /// process. None when there is no such line in time.
    std::optional<QByteArray> hear(pid_t process, const QByteArray& beginning);

    /// What `command` comes to: the next line of the program.
    QByteArray ask(InstanceProgram& program, const QByteArray& command);

    /// Waits for the next process that comes up besides those in `known`.
    pid_t nextProcess(const std::vector<pid_t>& known);

    /// Waits for the end of a process that nobody else waits for, and forgets it.
    void forget(pid_t process);

    /// Whether somebody on the bus has the name.
    bool isOwned(const QString& name);

    /// As a desktop activates the program: the public name, on the bus.
    bool activateOverBus();

    /// Lines of the process that nobody has asked for yet.
    std::vector<QByteArray> linesOf(pid_t process);

    InstancePlace place() const { return InstancePlace::ofThisSession(); }

    QString runtimeFolder() const { return m_folder.filePath(u"run"_qs); }

    /// Where the instance of this session listens.
    QString socketPath() const;

    std::unique_ptr<PrivateBus> m_bus;

private:
    void readReport();

    QTemporaryDir m_folder;
    std::map<QByteArray, std::optional<QByteArray>> m_before;
    OwnedDescriptor m_report;
    QByteArray m_pending;
    std::vector<std::pair<pid_t, QByteArray>> m_lines;
    std::vector<pid_t> m_processes;
};

/// A flow without a value as one that has one, for `watch` and `outcomeOf`.
QCoro::Task<bool> ended(QCoro::Task<void> flow);

/// Whether no such process is there, not even one that has ended and not been waited for.
bool isGone(pid_t process);

} // namespace lumivane::test
