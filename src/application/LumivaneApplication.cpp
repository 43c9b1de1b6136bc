#include "application/LumivaneApplication.h"

#include "analysis/AppDelegate.h"
#include "analysis/CommandLine.h"
#include "application/Services.h"
#include "async/MainThread.h"
#include "platform/linux/ProcessRelauncher.h"
#include "platform/linux/Replacement.h"
#include "platform/linux/SessionBusProbe.h"
#include "platform/linux/SessionEnd.h"
#include "platform/linux/SessionInstance.h"
#include "platform/linux/SystemLogSink.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/linux/XcbConnection.h"
#include "service/ApplicationInformationFile.h"
#include "telemetry/LumivaneLog.h"

#include <QApplication>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

namespace lumivane {

namespace {

constexpr std::chrono::seconds busPatience{2};

void logEscape(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        LumivaneLog::lifecycle.error("A flow let an error escape; errorType=%{public}s",
                                     LogTypeName(error));
    } catch (...) {
        LumivaneLog::lifecycle.error("A flow let something escape that is no error");
    }
}

void startLogging() {
    LumivaneLog::setSink(std::make_shared<SystemLogSink>(SystemLogSink::Verbosity::standard,
                                                         SystemLogSink::journalFor(STDERR_FILENO)));
    TaskHandle::setEscapeHandler(logEscape);
}

ApplicationInformation information() {
    return ApplicationInformationFile::load(ApplicationInformationFile::paths(
        QCoreApplication::applicationDirPath(), UserFolders::configuration()));
}

int print(const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stdout);
    return 0;
}

/// One job for which there need be neither a display nor a session.
int maintain() {
    SystemClock clock;
    FileUserDefaults defaults(UserFolders::configuration() + u"/lumivane"_qs);
    AutostartLoginItem loginItem(UserFolders::configuration(),
                                 QCoreApplication::applicationFilePath(), {});
    QtApplicationShell shell({});
    AppDelegate delegate({.arguments = QCoreApplication::arguments(),
                          .information = information(),
                          .loginItem = loginItem,
                          .standardDefaults = defaults,
                          .application = shell,
                          .clock = clock,
                          .sharedModel = {},
                          .createStatusItem = {},
                          .refreshSystemState = {}});
    delegate.applicationDidFinishLaunching();
    const int status = QCoreApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}

/// Tells the delegate what reaches the process from outside.
void listen(ApplicationInstance& instance, AppDelegate& delegate) {
    instance.onActivate = [&delegate] { delegate.applicationShouldHandleReopen(); };
    instance.onOpen = [](const QStringList&) {
        LumivaneLog::lifecycle.info("An address was opened that nobody waits for");
    };
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, qGuiApp,
                     [&delegate](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) {
                             delegate.applicationDidBecomeActive();
                         }
                     });
}

/// The program itself, from its first look at the desktop to the end of its event loop.
int live(SessionInstance& instance, const QProcessEnvironment& environment) {
    const QStringList arguments = QCoreApplication::arguments();
    const TestingMode testing = TestingMode::of(arguments, environment);
    const ApplicationInformation itsInformation = information();
    Mechanisms desktop(testing, environment);
    ProcessRelauncher relauncher(instance, ProgramCommand::ofThisProcess(arguments), desktop.clock);
    std::optional<Services> services; // made by the launch
    const auto sharedModel = [&]() -> AppModel& {
        if (!services) {
            services.emplace(desktop, itsInformation, testing, relauncher);
            postToMainThread([&services] { services->preparePanels(); });
        }
        return services->model;
    };
    AppDelegate delegate(
        {.arguments = arguments,
         .information = itsInformation,
         .loginItem = desktop.loginItem,
         .standardDefaults = desktop.userDefaults,
         .application = desktop.shell,
         .clock = desktop.clock,
         .sharedModel = sharedModel,
         .createStatusItem = [&services](AppModel&) { services->createStatusItem(); },
         .refreshSystemState = [](AppModel& model) { model.refreshSystemState(); }});
    listen(instance, delegate);
    const auto stop = [&sharedModel] { sharedModel().terminate(); };
    const TerminationSignals signalHandler(stop);
    const SessionEnd sessionEnd(*qGuiApp, stop);
    delegate.applicationDidFinishLaunching();
    const int status = QCoreApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}

/// Comes up as the session's one instance, or reaches the one that is up.
int run(int argc, char** argv, std::optional<Replacement> replacement) {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const bool isWithoutBus = sessionBusHangs(busPatience);
    if (isWithoutBus) {
        leaveSessionBus();
    }
    // The panels are windows of an X server, also where the session is of another kind.
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    startLogging();
    if (isWithoutBus) {
        LumivaneLog::lifecycle.error("The session bus does not answer; going on without it");
    }
    SystemClock clock;
    SessionInstance instance(InstancePlace::ofThisSession(), QDBusConnection::sessionBus(), clock);
    const bool isOurs = replacement ? replacement->takeOver(instance, clock)
                                    : instance.claim() == ApplicationInstance::Claim::granted;
    if (isOurs) {
        return live(instance, environment);
    }
    const CommandLine commandLine = CommandLine::of(QCoreApplication::arguments());
    if (commandLine.launchedAsLoginItem && commandLine.urls.isEmpty()) {
        return 0; // a start by the session stays silent, whoever was first
    }
    if (instance.activateOther(commandLine.urls)) {
        return 0;
    }
    // It may have been on its way out.
    if (instance.claim() == ApplicationInstance::Claim::granted) {
        return live(instance, environment);
    }
    std::fputs("lumivane: another instance has this session and does not answer\n", stderr);
    return 1;
}

/// The arguments before there is an application object to ask.
QStringList argumentsOf(int argc, char** argv) {
    QStringList arguments;
    for (int index = 0; index < argc; ++index) {
        arguments.append(QString::fromLocal8Bit(argv[index]));
    }
    return arguments;
}

} // namespace

int LumivaneApplication::main(int argc, char** argv) {
    TerminationSignals::unblock();
    QCoreApplication::setApplicationName(u"lumivane"_qs);
    const QStringList arguments = argumentsOf(argc, argv);
    const CommandLine::Entry entry = CommandLine::of(arguments).entry();
    // Before anything opens a descriptor that could be taken for the one it was handed.
    auto replacement = Replacement::fromArguments(arguments);
    try {
        if (entry == CommandLine::Entry::run) {
            // The toolkit would abort the process without a display.
            [[maybe_unused]] const XcbConnection display{QByteArray()};
            return run(argc, argv, std::move(replacement));
        }
        const QCoreApplication application(argc, argv);
        startLogging();
        switch (entry) {
        case CommandLine::Entry::printHelp:
            return print(CommandLine::helpText());
        case CommandLine::Entry::printVersion:
            return print(CommandLine::versionText(information()));
        default:
            return maintain();
        }
    } catch (const DisplayServerError& error) {
        std::fprintf(stderr, "lumivane: %s\n", error.what());
        return 1;
    }
}

} // namespace lumivane
