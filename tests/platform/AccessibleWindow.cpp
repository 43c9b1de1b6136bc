#include "platform/AccessibleWindow.h"

#include "support/XTestProcess.h"

#include <stdexcept>

namespace lumivane::test {

AccessibleWindow::AccessibleWindow(const QProcessEnvironment& environment) {
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_ACCESSIBLE_WINDOW), {});
}

AccessibleWindow::~AccessibleWindow() { endGroup(m_process); }

std::chrono::microseconds AccessibleWindow::announce(const QString& text, const char* priority,
                                                     int count) {
    const QByteArray order = QByteArray("announce ") + priority + ' ' + QByteArray::number(count);
    return std::chrono::microseconds(ask(order + ' ' + text.toUtf8().toBase64()).toLongLong());
}

void AccessibleWindow::pass(std::chrono::milliseconds time) {
    ask("pass " + QByteArray::number(qint64(time.count())));
}

void AccessibleWindow::setStatus(const QString& status) {
    ask("status " + status.toUtf8().toBase64());
}

QString AccessibleWindow::pressed() { return QString::fromUtf8(ask("log")); }

QByteArray AccessibleWindow::ask(const QByteArray& order) {
    m_process.write(order + '\n');
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(20000)) {
            throw std::runtime_error("the window gave no answer");
        }
    }
    return m_process.readLine().chopped(1);
}

} // namespace lumivane::test
