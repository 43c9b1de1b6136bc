#pragma once

#include "domain/AppSettings.h"
#include "support/XServer.h"

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

namespace lumivane::test {

/// The real program on a display of the test's own, with folders of its own. It ends with its
/// object, whatever the test did.
class LumivaneProgram {
public:
    /// `settings` and the service's URL and token are put where the program looks for them.
    LumivaneProgram(const XServer& display, const AppSettings& settings, const QString& serviceURL,
                    const QByteArray& token);
    ~LumivaneProgram();

    /// Everything that the program logged so far.
    QByteArray log() const;

    /// Waits for a line that holds `text`.
    bool waitForLog(const QByteArray& text) const;

    qint64 processID() const { return m_process.processId(); }

    /// Asks it to end and waits; its exit status, or -1 when it did not end in order.
    int terminate();

    /// The environment of programs on the display: no bus, no folder of the user's.
    QProcessEnvironment environment() const { return m_environment; }

private:
    void write(const QString& path, const QByteArray& contents) const;

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    QProcess m_process;
};

/// A window with a document in it, in a program of its own.
class DocumentWindow {
public:
    DocumentWindow(const LumivaneProgram& program, const QString& html, const QRect& area);
    ~DocumentWindow();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
};

} // namespace lumivane::test
