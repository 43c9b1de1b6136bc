#pragma once

#include "platform/linux/InstancePlace.h"
#include "support/KeyringDaemon.h"
#include "support/LumivaneProgram.h"
#include "support/PrivateBus.h"
#include "support/XServer.h"

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QString>

#include <sys/types.h>

#include <optional>
#include <vector>

namespace lumivane::test {

/// A user's desktop with all that a web login goes through: a message bus, the desktop's keyring, a
/// real browser as the handler of web addresses, and the program's desktop entry as the handler of
/// its own scheme. Whatever is started through it ends with it.
class LoginDesktop {
public:
    /// Whether a hand is needed in the pages, or they go on by themselves.
    enum class Pages { goOnAlone, needHand };

    /// The browser needs no leave of the user to hand addresses of the scheme on when they come
    /// from `origin`. Pages that go on alone have a new profile at every start; those that need a
    /// hand have the user's own, so one browser is closed before the next one starts.
    explicit LoginDesktop(const QString& origin, Pages pages = Pages::goOnAlone);
    ~LoginDesktop();
    LoginDesktop(const LoginDesktop&) = delete;
    LoginDesktop& operator=(const LoginDesktop&) = delete;

    /// What a program of this desktop is started with.
    const QProcessEnvironment& environment() const { return home.environment; }

    /// Where its programs meet.
    InstancePlace place() const { return InstancePlace::ofThisSession(); }

    /// Hands an address to whatever program the desktop has for it, and waits for that program.
    /// The exit status of the desktop's opener.
    int open(const QString& address) const;

    /// This process is on this desktop from now on, where there is more than one of them. Those
    /// that were made first end last.
    void moveIn();

    /// The process of every browser that was started.
    std::vector<pid_t> browsers() const;

    /// Also where nobody has asked how it ended, as on a machine whose first process never does.
    static bool hasEnded(pid_t process);

    /// Where a hand reaches into a browser: "commands" and "answers".
    QString browserPipe(pid_t browser, const QString& direction) const;

    /// How many programs were started for addresses of the scheme so far.
    int handlerCount() const;

private:
    /// This process is on the desktop as well, and again where it was afterwards.
    class Surroundings {
    public:
        explicit Surroundings(const QProcessEnvironment& environment);
        ~Surroundings();
        Surroundings(const Surroundings&) = delete;
        Surroundings& operator=(const Surroundings&) = delete;

    private:
        QMap<QByteArray, std::optional<QByteArray>> m_before;
    };

    void installBrowser(const QString& origin, Pages pages) const;
    void installProgram() const;

public:
    XServer display;
    PrivateBus bus;
    KeyringDaemon keyring{bus};
    LumivaneHome home{display};

private:
    std::optional<Surroundings> m_surroundings;
};

} // namespace lumivane::test
