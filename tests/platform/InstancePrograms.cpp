#include "InstancePrograms.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDBusMessage>
#include <QDir>
#include <QVariantMap>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace lumivane::test {

namespace {

constexpr const char* variables[] = {"DISPLAY",
                                     "DBUS_SESSION_BUS_ADDRESS",
                                     "LUMIVANE_TEST_FAULT",
                                     "LUMIVANE_TEST_REPORT",
                                     "LUMIVANE_TEST_STAYS",
                                     "TMPDIR",
                                     "XDG_RUNTIME_DIR"};

} // namespace

InstanceProgram::InstanceProgram(const QStringList& arguments) {
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), arguments);
    m_processID = pid_t(m_process.processId());
}

InstanceProgram::~InstanceProgram() { kill(); }

void InstanceProgram::tell(const QByteArray& command) {
    m_process.write(command + '\n');
    m_process.waitForBytesWritten();
}

void InstanceProgram::kill() {
    if (isRunning()) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void InstanceProgram::waitForEnd() { m_process.waitForFinished(20000); }

QCoro::Task<bool> ended(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

bool isGone(pid_t process) { return ::kill(process, 0) != 0 && errno == ESRCH; }

InstancePrograms::InstancePrograms() {
    // What outlives the program that started it comes to this process to be waited for.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    for (const char* name : variables) {
        m_before[name] =
            qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
        qunsetenv(name);
    }
    ::mkdir(runtimeFolder().toUtf8().constData(), S_IRWXU);
    const QByteArray report = m_folder.filePath(u"report"_qs).toUtf8();
    ::mkfifo(report.constData(), S_IRUSR | S_IWUSR);
    m_report = OwnedDescriptor(::open(report.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    qputenv("LUMIVANE_TEST_REPORT", report);
    qputenv("XDG_RUNTIME_DIR", runtimeFolder().toUtf8());
    qputenv("TMPDIR", m_folder.path().toUtf8());
    qputenv("DISPLAY", ":97");
    leaveBus();
}

InstancePrograms::~InstancePrograms() {
    readReport();
    for (const pid_t process : m_processes) {
        // One that has been waited for is none of ours any more, and its number may be another's.
        if (::waitpid(process, nullptr, WNOHANG) == 0) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
    }
    for (const auto& [name, value] : m_before) {
        value ? qputenv(name.constData(), *value) : qunsetenv(name.constData());
    }
}

void InstancePrograms::startBus() {
    m_bus = std::make_unique<PrivateBus>();
    returnToBus();
}

void InstancePrograms::leaveBus() { qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); }

void InstancePrograms::returnToBus() {
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().toUtf8());
}

void InstancePrograms::setVariable(const char* name, const QByteArray& value) {
    qputenv(name, value);
}

std::unique_ptr<InstanceProgram> InstancePrograms::start(const QStringList& arguments) {
    auto program = std::make_unique<InstanceProgram>(arguments);
    EXPECT_TRUE(hear(program->processID(), "up"));
    return program;
}

std::unique_ptr<InstanceProgram> InstancePrograms::startFirst() {
    auto program = start();
    EXPECT_EQ(ask(*program, "claim"), "granted");
    return program;
}

std::optional<QByteArray> InstancePrograms::hear(pid_t process, const QByteArray& beginning) {
    std::optional<QByteArray> found;
    waitUntil([&] {
        readReport();
        const auto line = std::find_if(m_lines.begin(), m_lines.end(), [&](const auto& each) {
            return each.first == process && each.second.startsWith(beginning);
        });
        if (line == m_lines.end()) {
            return false;
        }
        found = line->second;
        std::erase_if(m_lines, [&, before = line - m_lines.begin()](const auto& each) {
            return each.first == process && &each - m_lines.data() <= before;
        });
        return true;
    });
    return found;
}

QByteArray InstancePrograms::ask(InstanceProgram& program, const QByteArray& command) {
    program.tell(command);
    return hear(program.processID(), "").value_or("nothing");
}

pid_t InstancePrograms::nextProcess(const std::vector<pid_t>& known) {
    pid_t found = 0;
    waitUntil([&] {
        readReport();
        for (const pid_t process : m_processes) {
            if (std::find(known.begin(), known.end(), process) == known.end()) {
                found = process;
            }
        }
        return found != 0;
    });
    return found;
}

void InstancePrograms::forget(pid_t process) {
    ::waitpid(process, nullptr, 0);
    std::erase(m_processes, process);
    std::erase_if(m_lines, [&](const auto& each) { return each.first == process; });
}

bool InstancePrograms::isOwned(const QString& name) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_qs, u"/"_qs, u"org.freedesktop.DBus"_qs, u"NameHasOwner"_qs);
    call << name;
    return m_bus->connect().call(call).arguments().value(0).toBool();
}

bool InstancePrograms::activateOverBus() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"com.marnoth.Lumivane"_qs, u"/com/marnoth/Lumivane"_qs,
                                       u"org.freedesktop.Application"_qs, u"Activate"_qs);
    call << QVariantMap();
    return m_bus->connect().call(call).type() == QDBusMessage::ReplyMessage;
}

std::vector<QByteArray> InstancePrograms::linesOf(pid_t process) {
    readReport();
    std::vector<QByteArray> found;
    for (const auto& [teller, line] : m_lines) {
        if (teller == process) {
            found.push_back(line);
        }
    }
    return found;
}

QString InstancePrograms::socketPath() const {
    return runtimeFolder() + u"/lumivane-"_qs + place().name() + u".socket"_qs;
}

void InstancePrograms::readReport() {
    char buffer[4096];
    for (;;) {
        const ssize_t size = ::read(m_report.get(), buffer, sizeof buffer);
        if (size <= 0) {
            break;
        }
        m_pending.append(buffer, size);
    }
    for (auto end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QByteArray line = m_pending.left(end);
        m_pending.remove(0, end + 1);
        const auto process = pid_t(line.left(line.indexOf(' ')).toInt());
        m_lines.emplace_back(process, line.mid(line.indexOf(' ') + 1));
        if (std::find(m_processes.begin(), m_processes.end(), process) == m_processes.end()) {
            m_processes.push_back(process);
        }
    }
}

} // namespace lumivane::test
