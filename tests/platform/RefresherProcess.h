#pragma once

#include "support/PrivateBus.h"

#include <QByteArrayList>
#include <QProcess>
#include <QStringList>

namespace lumivane::test {

/// `lumivane_test_refresher` as a process of its own, ended in any case when this goes. The event
/// loop turns while this waits for it.
class RefresherProcess {
public:
    /// The process lives on this bus, and so with its keyring.
    RefresherProcess(const PrivateBus& bus, const QStringList& arguments);
    ~RefresherProcess();
    RefresherProcess(const RefresherProcess&) = delete;
    RefresherProcess& operator=(const RefresherProcess&) = delete;

    /// Whether it says this line, now or in time.
    bool reaches(const QByteArray& step);

    /// Lets it go on from where it stands still.
    void goOn();

    /// Gives it its whole standard input.
    void give(const QByteArray& input);

    /// Ends it at once.
    void kill();

    /// Waits for its own end; the last line it said. Empty when it did not end well.
    QByteArray lastWord();

private:
    void takeLines();

    QProcess m_process;
    QByteArrayList m_lines;
};

} // namespace lumivane::test
