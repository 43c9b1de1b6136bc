#pragma once

#include "support/XTestClient.h"

#include <QProcess>

namespace lumivane::test {

/// Starts `process` in a group of its own that dies with this program, whichever way that ends.
void startInOwnGroup(QProcess& process, const QString& program, const QStringList& arguments);

/// Ends a process started so and all that it started, and waits for it.
void endGroup(QProcess& process);

/// A client in a process of its own: its windows are not those of the test.
class XTestProcess {
public:
    explicit XTestProcess(const QByteArray& displayName);
    ~XTestProcess();

    std::int64_t processID() const { return m_process.processId(); }

    // As XTestClient does them.
    xcb_window_t show(const XWindowSpec& spec);
    void hide(xcb_window_t window);
    bool waitUntilShown(xcb_window_t window);

private:
    std::uint32_t ask(const QByteArray& request);

    QProcess m_process;
};

} // namespace lumivane::test
