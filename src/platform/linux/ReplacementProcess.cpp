#include "platform/linux/ReplacementProcess.h"

#include "async/Completion.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/CoreDumps.h"
#include "platform/linux/Replacement.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSocketNotifier>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

constexpr int lineInProgram = STDERR_FILENO + 1;

void check(int error, const char* what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

/// As the system takes them. They are valid while `words` is left alone.
std::vector<char*> pointersTo(QByteArrayList& words) {
    std::vector<char*> pointers;
    for (QByteArray& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

class FileActions {
public:
    explicit FileActions(int line) {
        check(::posix_spawn_file_actions_init(&m_actions), "posix_spawn_file_actions_init");
        // The line first: it may stand where standard input goes.
        ::posix_spawn_file_actions_adddup2(&m_actions, line, lineInProgram);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, lineInProgram + 1);
    }

    ~FileActions() { ::posix_spawn_file_actions_destroy(&m_actions); }

    Q_DISABLE_COPY_MOVE(FileActions)

    const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// A session of its own, and none of the signals that this program keeps from itself.
class Attributes {
public:
    Attributes() {
        check(::posix_spawnattr_init(&m_attributes), "posix_spawnattr_init");
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setsigdefault(&m_attributes, &all);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK |
                                                      POSIX_SPAWN_SETSIGDEF);
    }

    ~Attributes() { ::posix_spawnattr_destroy(&m_attributes); }

    Q_DISABLE_COPY_MOVE(Attributes)

    const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

QByteArrayList ProgramCommand::presentEnvironment() {
    QByteArrayList words;
    for (char** word = environ; word != nullptr && *word != nullptr; ++word) {
        words << *word;
    }
    return words;
}

ProgramCommand ProgramCommand::ofThisProcess(const QStringList& arguments,
                                             const QByteArrayList& environment,
                                             const QString& link) {
    const QString deletedMark = u" (deleted)"_qs;
    QString program = QFile::symLinkTarget(link);
    // An update has replaced the file: the new one stands under the old name.
    if (program.endsWith(deletedMark) && !QFileInfo::exists(program)) {
        program.chop(deletedMark.size());
    }
    QStringList kept;
    std::copy_if(arguments.begin() + std::min<qsizetype>(1, arguments.size()), arguments.end(),
                 std::back_inserter(kept), [](const QString& argument) {
                     return argument.startsWith(u"--"_qs) &&
                            argument != AutostartLoginItem::startedBySession &&
                            !argument.startsWith(Replacement::switchPrefix());
                 });
    return {program, kept, environment};
}

QCoro::Task<bool> becomesReadable(int descriptor, Clock& clock, std::chrono::nanoseconds limit,
                                  std::stop_token stop) {
    Completion<bool> outcome;
    QSocketNotifier notifier(descriptor, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&notifier, outcome] {
        notifier.setEnabled(false);
        outcome.resolve(true);
    });
    const auto timer = clock.after(limit, [outcome] { outcome.resolve(false); });
    co_return co_await outcome.wait(stop);
}

ReplacementProcess::ReplacementProcess(const ProgramCommand& command, const HandOverChannel& line) {
    QList<QByteArray> words{QFile::encodeName(command.program)};
    for (const QString& argument : command.arguments) {
        words << argument.toLocal8Bit();
    }
    words << (Replacement::switchPrefix() + QString::number(lineInProgram)).toLatin1();
    const std::vector<char*> pointers = pointersTo(words);
    QByteArrayList environment = command.environment;
    const FileActions actions(line.descriptor());
    const Attributes attributes;
    // It sees to its own dumps, and what it starts is to find what this one found.
    const bool wereDisabled = CoreDumps::allowAgain();
    const auto disableAgain = qScopeGuard([wereDisabled] {
        if (wereDisabled) {
            CoreDumps::disable();
        }
    });
    check(::posix_spawn(&m_processID, pointers.front(), actions.get(), attributes.get(),
                        pointers.data(), pointersTo(environment).data()),
          "posix_spawn");
    m_handle = OwnedDescriptor(int(::syscall(SYS_pidfd_open, m_processID, 0)));
}

ReplacementProcess::~ReplacementProcess() { kill(); }

void ReplacementProcess::kill() {
    if (m_processID > 0) {
        ::kill(m_processID, SIGKILL);
        ::waitpid(std::exchange(m_processID, 0), nullptr, 0);
    }
}

QCoro::Task<void> ReplacementProcess::end(Clock& clock, std::chrono::nanoseconds grace,
                                          std::stop_token stop) {
    if (m_processID > 0 && m_handle) {
        ::kill(m_processID, SIGTERM);
        co_await becomesReadable(m_handle.get(), clock, grace, stop);
    }
    kill();
}

} // namespace lumivane
