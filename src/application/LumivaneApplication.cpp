#include "application/LumivaneApplication.h"

#include "analysis/AppDelegate.h"
#include "analysis/CommandLine.h"
#include "application/Services.h"
#include "async/MainThread.h"
#include "platform/linux/CoreDumps.h"
#include "platform/linux/ProcessRelauncher.h"
#include "platform/linux/Replacement.h"
#include "platform/linux/SessionBusProbe.h"
#include "platform/linux/SessionEnd.h"
#include "platform/linux/SessionInstance.h"
#include "platform/linux/SystemLogSink.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/linux/UserFolders.h"
#include "platform/linux/XcbConnection.h"
#include "service/ApplicationInformationFile.h"
#include "telemetry/LumivaneLog.h"

#include <QApplication>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
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
    return delegate.hasMaintenanceFailed() ? 1 : status;
}

/// Tells the delegate what reaches the process from outside.
void listen(ApplicationInstance& instance, AppDelegate& delegate, BrowserWebSession& webSession) {
    instance.onActivate = [&delegate] { delegate.applicationShouldHandleReopen(); };
    instance.onOpen = [&webSession](const QStringList& urls) {
        for (const QString& url : urls) {
            webSession.deliver(url);
        }
    };
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, qGuiApp,
                     [&delegate](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) {
                             delegate.applicationDidBecomeActive();
                         }
                     });
}

/// The environment that the process was started with, in the forms that its readers take.
struct StartEnvironment {
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    QByteArrayList words = ProgramCommand::presentEnvironment();
};

/// Everything over the desktop's mechanisms, from the launch to the end of the event loop.
int live(SessionInstance& instance, const StartEnvironment& environment, const TestingMode& testing,
         Mechanisms& desktop) {
    const QStringList arguments = QCoreApplication::arguments();
    const ApplicationInformation itsInformation = information();
    ProcessRelauncher relauncher(
        instance, ProgramCommand::ofThisProcess(arguments, environment.words), desktop.clock);
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
    listen(instance, delegate, desktop.webSession);
    const auto stop = [&sharedModel] { sharedModel().terminate(); };
    const TerminationSignals signalHandler(stop);
    const SessionEnd sessionEnd(*qGuiApp, stop);
    delegate.applicationDidFinishLaunching();
    if (const QStringList urls = CommandLine::of(arguments).urls; !urls.isEmpty()) {
        // Behind the launch, which makes what takes them.
        postToMainThread([&instance, urls] { instance.onOpen(urls); });
    }
    const int status = QCoreApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}

/// The program itself on the desktop it was started on.
int live(SessionInstance& instance, const StartEnvironment& environment) {
    const auto testing = TestingMode::of(QCoreApplication::arguments(), environment.variables);
    Mechanisms desktop(testing, environment.variables);
    const int status = live(instance, environment, testing, desktop);
    if (!desktop.endWork()) {
        LumivaneLog::lifecycle.error("Ending while a worker is still busy");
        std::_Exit(status);
    }
    return status;
}

/// Takes the place, or reaches the instance that has it: then the process's exit status.
std::optional<int> settle(SessionInstance& instance) {
    using Claim = ApplicationInstance::Claim;
    const CommandLine commandLine = CommandLine::of(QCoreApplication::arguments());
    if (commandLine.launchedAsLoginItem && commandLine.urls.isEmpty()) {
        // A start by the session stays silent, whoever was first. But at a login right after a
        // logout that one may be on its way out.
        return instance.claimWhenFree() == Claim::granted ? std::nullopt : std::optional(0);
    }
    if (instance.claim() == Claim::granted) {
        return std::nullopt;
    }
    if (instance.activateOther(commandLine.urls)) {
        return 0;
    }
    // It may have been on its way out.
    if (instance.claim() == Claim::granted) {
        return std::nullopt;
    }
    std::fputs("lumivane: another instance has this session and does not answer\n", stderr);
    return 1;
}

InstancePlace placeFor(const TestingMode& testing) {
    using Use = InstancePlace::Use;
    return InstancePlace::ofThisSession(testing.isTesting() ? Use::testing : Use::ordinary);
}

/// Comes up as the session's one instance, or reaches the one that is up.
int run(int argc, char** argv, std::optional<Replacement> replacement) {
    const StartEnvironment environment;
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
    const auto testing = TestingMode::of(QCoreApplication::arguments(), environment.variables);
    SessionInstance instance(placeFor(testing), QDBusConnection::sessionBus(), clock);
    if (replacement) {
        return replacement->takeOver(instance, clock) ? live(instance, environment) : 1;
    }
    const std::optional<int> status = settle(instance);
    return status ? *status : live(instance, environment);
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
    CoreDumps::disable();
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
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumivane: %s\n", error.what());
        return 1;
    }
}

} // namespace lumivane
