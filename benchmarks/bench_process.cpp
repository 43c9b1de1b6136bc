// What the process costs while nobody uses it: how soon its icon is in the tray, with a keyring
// that hangs, and what wakes it while it waits.
//
//   bench_process [STARTS] [IDLE_SECONDS]
//
// Ends with 1 when a bar is missed.

#include "Figures.h"
#include "support/EventLoop.h"
#include "support/LumivaneProgram.h"
#include "support/NotifierTray.h"
#include "support/PrivateBus.h"
#include "support/XTestProcess.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

using namespace lumivane;
using namespace lumivane::test;
using namespace lumivane::bench;

constexpr double startBar = 300;   ///< milliseconds, of the 95th percentile
constexpr double residentBar = 60; ///< MiB
/// For each look at the pointer: the timer, the display server's answers to two questions, and what
/// waiting for them costs more on a busy machine. With one look a second, another timer would show.
constexpr double pollWakesBar = 8;
constexpr double pollSeconds = 1;

/// The keyring daemon of the desktop, which stopped in the middle of something.
class HungKeyring {
public:
    explicit HungKeyring(PrivateBus& bus) {
        m_daemon.setProcessEnvironment(bus.environment());
        startInOwnGroup(m_daemon, u"gnome-keyring-daemon"_qs,
                        {u"--foreground"_qs, u"--unlock"_qs, u"--components=secrets"_qs});
        m_daemon.write("password");
        m_daemon.closeWriteChannel();
        QDBusConnection connection = bus.connect();
        const bool isUp = waitUntil([&connection] {
            return connection.interface()->isServiceRegistered(u"org.freedesktop.secrets"_qs);
        });
        if (!isUp) {
            throw std::runtime_error("the keyring did not come up");
        }
        m_hold = std::make_unique<HeldProcess>(m_daemon.processId());
    }

    ~HungKeyring() {
        m_hold.reset();
        endGroup(m_daemon);
    }

    HungKeyring(const HungKeyring&) = delete;
    HungKeyring& operator=(const HungKeyring&) = delete;

private:
    QProcess m_daemon;
    std::unique_ptr<HeldProcess> m_hold;
};

AppSettings settingsWith(ActivationMode mode) {
    AppSettings settings;
    settings.configured = true;
    settings.activationMode = mode;
    settings.pollSeconds = pollSeconds;
    return settings;
}

/// The number behind `key` in a status of the kernel's; 0 for one that has gone.
double statusOf(const QString& folder, const QByteArray& key) {
    QFile file(folder + u"/status"_qs);
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith(key + ":")) {
                return line.mid(key.size() + 1).trimmed().split(' ').constFirst().toDouble();
            }
        }
    }
    return 0;
}

/// How often each thread was woken so far, by its number.
std::map<QString, double> wakeUps(qint64 processID) {
    std::map<QString, double> wakeUps;
    const QDir threads(u"/proc/%1/task"_qs.arg(processID));
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        wakeUps[thread] = statusOf(threads.filePath(thread), "voluntary_ctxt_switches");
    }
    return wakeUps;
}

/// A thread that has come or gone in between was woken for that, and fails the measurement.
double difference(const std::map<QString, double>& before, const std::map<QString, double>& after) {
    double sum = 0;
    for (const auto& [thread, count] : after) {
        sum += count - before.at(thread);
    }
    if (before.size() != after.size()) {
        throw std::runtime_error("a thread ended while the process was to be idle");
    }
    return sum;
}

bool verdict(const char* what, double value, const char* unit, double bar) {
    const bool isMet = value <= bar;
    std::printf("%-46s %9.2f %-8s bar %g%s\n", what, value, unit, bar, isMet ? "" : "  MISSED");
    return isMet;
}

bool measureStarts(const LumivaneHome& home, NotifierTray& tray, int starts) {
    home.store(settingsWith(ActivationMode::hotkey));
    Figures ready;
    for (int start = 0; start < starts; ++start) {
        const MonotonicInstant begin = meterNow();
        LumivaneProgram program(home);
        if (!tray.waitForItem()) {
            throw std::runtime_error("no icon came: " + program.log().toStdString());
        }
        ready.add(milliseconds(meterNow() - begin));
        program.terminate();
        waitUntil([&tray] { return tray.items().isEmpty(); });
    }
    std::printf("start to tray-ready, keyring hung: p50 %.1f ms over %d starts\n",
                ready.quantile(0.5), starts);
    return verdict("start to tray-ready, p95", ready.quantile(0.95), "ms", startBar);
}

/// Wake-ups of all threads of a settled process in `seconds`.
double measureWakeUps(const LumivaneHome& home, NotifierTray& tray, ActivationMode mode,
                      int seconds, double& residentMiB) {
    home.store(settingsWith(mode));
    LumivaneProgram program(home);
    if (!tray.waitForItem() || !program.waitForLog("Service health check failed")) {
        throw std::runtime_error("the program did not settle: " + program.log().toStdString());
    }
    const auto pass = [](int passing) {
        const MonotonicInstant end = meterNow() + std::chrono::seconds(passing);
        waitUntil([end] { return meterNow() >= end; }, std::chrono::seconds(passing + 5));
    };
    pass(35); // the workers of the start end by themselves after half a minute
    const auto before = wakeUps(program.processID());
    pass(seconds);
    residentMiB = statusOf(u"/proc/%1"_qs.arg(program.processID()), "VmRSS") / 1024;
    return difference(before, wakeUps(program.processID()));
}

int run(int starts, int seconds) {
    XServer display(QSize(1920, 1080));
    PrivateBus bus;
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
    const HungKeyring keyring(bus);
    NotifierTray tray;
    LumivaneHome home(display);
    home.setSessionBus(bus.address());
    home.setService(u"http://127.0.0.1:9"_qs); // nobody listens there

    bool isMet = measureStarts(home, tray, starts);
    double residentMiB = 0;
    const double idle = measureWakeUps(home, tray, ActivationMode::hotkey, seconds, residentMiB);
    isMet &= verdict("wake-ups while idle, shortcut mode", idle, "", 0);
    isMet &= verdict("resident memory while idle", residentMiB, "MiB", residentBar);
    const double polls = seconds / pollSeconds;
    const double watching =
        measureWakeUps(home, tray, ActivationMode::corner, seconds, residentMiB);
    isMet &= verdict("wake-ups a poll, corner mode", watching / polls, "", pollWakesBar);
    return isMet ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const int starts = argc > 1 ? std::atoi(argv[1]) : 20;
    const int seconds = argc > 2 ? std::atoi(argv[2]) : 60;
    try {
        return run(starts, seconds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_process: %s\n", error.what());
        return 1;
    }
}
