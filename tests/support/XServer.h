#pragma once

#include <QByteArray>
#include <QProcess>
#include <QRect>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>

namespace lumivane::test {

/// An X server without a screen of glass, of a test's own; it ends with its object. It throws
/// std::runtime_error where a program is missing or does not start.
class XServer {
public:
    explicit XServer(const QSize& size = QSize(640, 480));
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    /// Such as ":3".
    const QByteArray& displayName() const { return m_displayName; }

    std::int64_t processID() const { return m_server.processId(); }

    /// Ends it in the middle of whatever it does.
    void kill();

    /// Starts a window manager and waits until it has taken over.
    void startWindowManager();
    void stopWindowManager();

    /// Starts a compositor and waits until it has taken over.
    void startCompositor();
    void stopCompositor();

    /// Declares a part of the screen a monitor. Where none has the server's own output, it takes
    /// that over and becomes the primary one.
    void addMonitor(const QString& name, const QRect& area);
    void removeMonitor(const QString& name);

    /// Runs a program on this display to its end and returns what it printed.
    QByteArray run(const QString& program, const QStringList& arguments) const;

private:
    QProcessEnvironment environment() const;

    QTemporaryDir m_home; ///< what programs write goes here
    QProcess m_server;
    QProcess m_windowManager;
    QProcess m_compositor;
    QByteArray m_displayName;
    QString m_outputMonitor; ///< the monitor that has the server's own output
};

} // namespace lumivane::test
