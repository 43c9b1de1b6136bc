#pragma once

#include "domain/AppSettings.h"
#include "support/XServer.h"

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>

namespace lumivane::test {

/// What a user of the program has: a display, folders, and a session bus where a test gives one.
/// It outlives the programs that are started in it.
class LumivaneHome {
public:
    /// Without a bus until `setSessionBus`.
    explicit LumivaneHome(const XServer& display);

    /// Puts the settings, or the URL of the service, where the program looks for them.
    void store(const AppSettings& settings) const;
    void setService(const QString& url) const;
    void setSessionBus(const QString& address);

    /// The settings as they are stored now; none where there are no readable ones.
    std::optional<AppSettings> storedSettings() const;

    QString path(const QString& name) const { return m_folder.filePath(name); }

    /// The surroundings of programs in it; add to them as needed.
    QProcessEnvironment environment;

private:
    void write(const QString& path, const QByteArray& contents) const;

    QTemporaryDir m_folder;
};

/// The real program. It ends with its object, whatever the test did.
class LumivaneProgram {
public:
    explicit LumivaneProgram(const LumivaneHome& home, const QStringList& arguments = {});
    ~LumivaneProgram();

    /// Everything that the program logged so far, and what it printed.
    QByteArray log() const;

    QByteArray output() { return m_process.readAllStandardOutput(); }

    /// Waits for a line that holds `text`.
    bool waitForLog(const QByteArray& text) const;

    /// The same, but throws with the log where the line does not come.
    void requireLog(const QByteArray& text) const;

    qint64 processID() const { return m_process.processId(); }

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

    /// Whether it has opened any socket yet; the first one is that to its display.
    bool hasSocket() const;

    void signal(int number) const;

    static constexpr int endedBySignal = -2;

    /// Waits for its end; its exit status, or `endedBySignal`, or -1 when it did not end.
    int waitForEnd();

    /// Asks it to end and waits, as `waitForEnd`.
    int terminate();

    /// Ends it in the middle of whatever it does.
    void kill() { m_process.kill(); }

private:
    QString m_logFile;
    QProcess m_process;
};

/// A window with a document in it, in a program of its own.
class DocumentWindow {
public:
    DocumentWindow(const LumivaneHome& home, const QString& html, const QRect& area);
    ~DocumentWindow();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
};

} // namespace lumivane::test
