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
    /// The browser needs no leave of the user to hand addresses of the scheme on when they come
    /// from `origin`.
    explicit LoginDesktop(const QString& origin);
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

    void installBrowser(const QString& origin) const;
    void installProgram() const;

    /// Every one that was started.
    std::vector<pid_t> browsers() const;

public:
    XServer display;
    PrivateBus bus;
    KeyringDaemon keyring{bus};
    LumivaneHome home{display};

private:
    std::optional<Surroundings> m_surroundings;
};

} // namespace lumivane::test
