#include "RefresherProcess.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

namespace lumivane::test {

RefresherProcess::RefresherProcess(const PrivateBus& bus, const QStringList& arguments) {
    m_process.setProcessEnvironment(bus.environment());
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_TEST_REFRESHER), arguments);
}

RefresherProcess::~RefresherProcess() { endGroup(m_process); }

bool RefresherProcess::reaches(const QByteArray& step) {
    return waitUntil([this, step] {
        takeLines();
        return m_lines.contains(step);
    });
}

void RefresherProcess::goOn() { m_process.write("\n"); }

void RefresherProcess::give(const QByteArray& input) {
    m_process.write(input);
    m_process.closeWriteChannel();
}

void RefresherProcess::kill() {
    m_process.kill();
    m_process.waitForFinished();
}

QByteArray RefresherProcess::lastWord() {
    const bool hasEnded = waitUntil([this] { return m_process.state() == QProcess::NotRunning; });
    takeLines();
    const bool endedWell = hasEnded && m_process.exitStatus() == QProcess::NormalExit &&
                           m_process.exitCode() == 0 && !m_lines.isEmpty();
    return endedWell ? m_lines.last() : QByteArray();
}

void RefresherProcess::takeLines() {
    while (m_process.canReadLine()) {
        m_lines.append(m_process.readLine().trimmed());
    }
}

} // namespace lumivane::test
