// A program of which there is one per session, and nothing else. It does what its standard input
// says, and writes what happens to it into the pipe that LUMIVANE_TEST_REPORT names.

#include "async/SystemClock.h"
#include "async/TaskHandle.h"
#include "platform/linux/HandOverChannel.h"
#include "platform/linux/ProcessRelauncher.h"
#include "platform/linux/Replacement.h"
#include "platform/linux/SessionInstance.h"
#include "platform/linux/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <string>
#include <thread>

namespace {

using namespace lumivane;

int report = -1;

/// Set by each program for itself, and no other is to see it.
constexpr const char* ownVariable = "LUMIVANE_TEST_OWN";

void say(const QByteArray& words) {
    const QByteArray line = QByteArray::number(::getpid()) + ' ' + words + '\n';
    if (::write(report, line.constData(), std::size_t(line.size())) != line.size()) {
        ::_exit(4);
    }
}

/// Ends with the test that reads the report, whatever the main thread does.
void openReport() {
    report = ::open(qgetenv("LUMIVANE_TEST_REPORT").constData(), O_WRONLY | O_CLOEXEC);
    std::thread([] {
        pollfd reader{report, 0, 0};
        ::poll(&reader, 1, -1);
        ::_exit(3);
    }).detach();
}

QByteArray inheritedDescriptors() {
    QByteArray found;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            found += ' ' + QByteArray::number(descriptor);
        }
    }
    return found;
}

[[noreturn]] void endAs(const QByteArray& fault) {
    say("fault " + fault);
    if (fault.startsWith("die")) {
        ::_exit(5);
    }
    for (;;) {
        ::pause();
    }
}

/// A replacement that goes wrong at the step that LUMIVANE_TEST_FAULT names.
void goWrong(const QStringList& arguments) {
    const QByteArray fault = qgetenv("LUMIVANE_TEST_FAULT");
    const QString prefix = Replacement::switchPrefix();
    if (fault.isEmpty() || arguments.filter(prefix).isEmpty()) {
        return;
    }
    if (fault.startsWith("hard-")) {
        std::signal(SIGTERM, SIG_IGN);
    }
    if (fault.endsWith("-start")) {
        endAs(fault);
    }
    if (fault.endsWith("-garbage") || fault.endsWith("-nonsense")) {
        say("fault " + fault); // for it may be ended as soon as it is heard
    }
    const int descriptor = arguments.filter(prefix).constFirst().mid(prefix.size()).toInt();
    if (fault.endsWith("-garbage")) {
        const std::string garbage(1000, 'r');
        ::send(descriptor, garbage.data(), garbage.size(), 0);
        endAs(fault);
    }
    const auto line = HandOverChannel::inherited(descriptor);
    if (fault.endsWith("-nonsense")) {
        line->send(HandOverWord::granted);
        endAs(fault);
    }
    line->send(HandOverWord::running);
    if (fault.endsWith("-yours")) {
        const SystemClock clock;
        HandOverChannel::Message message;
        line->await(message, clock, clock.now() + std::chrono::seconds(20));
        if (fault.startsWith("hang")) {
            endAs(message.lock ? "hang-yours with the lock" : "hang-yours");
        }
        endAs(fault);
    }
    endAs(fault);
}

QByteArray joined(const QStringList& urls) {
    QByteArray words;
    for (const QString& url : urls) {
        words += ' ' + url.toUtf8().toHex();
    }
    return words;
}

class Program {
public:
    Program(QByteArrayList arguments)
        : m_arguments(std::move(arguments)) {
        m_instance.onActivate = [] { say("activated"); };
        m_instance.onOpen = [](const QStringList& urls) {
            say("opened" + joined(urls));
            if (urls.contains(u"test:quit"_qs)) {
                QCoreApplication::quit();
            }
        };
    }

    SessionInstance& instance() { return m_instance; }

    const Clock& clock() const { return m_clock; }

    void obey(const std::string& command) {
        const QList<QByteArray> words = QByteArray::fromStdString(command).split(' ');
        const QByteArray& verb = words.constFirst();
        if (verb == "claim") {
            say(m_instance.claim() == SessionInstance::Claim::granted ? "granted" : "taken");
        } else if (verb == "begin") {
            begin(words.mid(1));
        } else if (verb == "activate") {
            activate(words.mid(1));
        } else if (verb == "release") {
            m_instance.release();
            say("released");
        } else if (verb == "relaunch") {
            m_relaunch = TaskHandle::start([this](std::stop_token) { return relaunch(this); });
        } else if (verb == "quit") {
            QCoreApplication::quit();
        }
    }

private:
    /// As a program does when it starts.
    void begin(const QList<QByteArray>& urls) {
        if (m_instance.claim() == SessionInstance::Claim::granted) {
            say("granted");
        } else {
            activate(urls);
        }
    }

    void activate(const QList<QByteArray>& urls) {
        QStringList decoded;
        for (const QByteArray& url : urls) {
            decoded << QString::fromUtf8(QByteArray::fromHex(url));
        }
        say(m_instance.activateOther(decoded) ? "reached" : "unreached");
    }

    static QCoro::Task<void> relaunch(Program* self) {
        QByteArray outcome = "relaunched";
        try {
            co_await self->m_relauncher.startReplacement();
        } catch (const std::exception& error) {
            outcome = QByteArray("failed ") + error.what();
        }
        say(outcome);
        if (outcome == "relaunched" && !qEnvironmentVariableIsSet("LUMIVANE_TEST_STAYS")) {
            QCoreApplication::quit();
        }
    }

    static QStringList texts(const QByteArrayList& arguments) {
        QStringList found;
        for (const QByteArray& argument : arguments) {
            found << QString::fromLocal8Bit(argument);
        }
        return found;
    }

    QByteArrayList m_arguments;
    QByteArrayList m_environment = ProgramCommand::presentEnvironment();
    SystemClock m_clock;
    SessionInstance m_instance{InstancePlace::ofThisSession(), QDBusConnection::sessionBus(),
                               m_clock};
    ProcessRelauncher m_relauncher{
        m_instance, ProgramCommand::ofThisProcess(texts(m_arguments), m_environment), m_clock};
    TaskHandle m_relaunch;
};

} // namespace

int main(int argc, char** argv) {
    const QByteArray descriptors = inheritedDescriptors();
    TerminationSignals::unblock();
    QStringList arguments;
    QByteArrayList bytes;
    for (int index = 0; index < argc; ++index) {
        arguments << QString::fromLocal8Bit(argv[index]);
        bytes << argv[index];
    }
    openReport();
    say("up session=" + QByteArray::number(::getsid(0)) + " open=" + descriptors.trimmed() +
        " arguments=" + bytes.mid(1).join(',') +
        (qEnvironmentVariableIsSet(ownVariable) ? " and a variable that is not its own" : ""));
    goWrong(arguments);
    auto replacement = Replacement::fromArguments(arguments);
    const QCoreApplication application(argc, argv);
    Program program(bytes);
    qputenv(ownVariable, "1");
    if (replacement) {
        const bool isOurs = replacement->takeOver(program.instance(), program.clock());
        say(isOurs ? "took over" : "gave way");
        if (!isOurs) {
            return 1;
        }
    }
    const TerminationSignals signalHandler([] { QCoreApplication::quit(); });
    if (arguments.contains(u"--begin"_qs)) {
        program.obey("begin");
    }
    std::string pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        char buffer[4096];
        const ssize_t size = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (size <= 0) {
            input.setEnabled(false);
            return;
        }
        pending.append(buffer, std::size_t(size));
        for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            program.obey(line);
        }
    });
    return QCoreApplication::exec();
}
