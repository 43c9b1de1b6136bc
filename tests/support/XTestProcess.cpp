#include "support/XTestProcess.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <sstream>
#include <stdexcept>

namespace lumivane::test {

namespace {

void writeArea(std::ostream& words, const QRect& area) {
    words << ' ' << area.x() << ' ' << area.y() << ' ' << area.width() << ' ' << area.height();
}

} // namespace

void startInOwnGroup(QProcess& process, const QString& program, const QStringList& arguments) {
    process.setChildProcessModifier([] {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    });
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        throw std::runtime_error("cannot start " + program.toStdString());
    }
}

void endGroup(QProcess& process) {
    if (process.state() == QProcess::NotRunning) {
        return;
    }
    const auto group = static_cast<pid_t>(process.processId());
    ::kill(-group, SIGTERM);
    if (!process.waitForFinished(5000)) {
        ::kill(-group, SIGKILL);
        process.waitForFinished();
    }
}

XTestProcess::XTestProcess(const QByteArray& displayName) {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_X_TEST_CLIENT),
                    {QString::fromLatin1(displayName)});
}

XTestProcess::~XTestProcess() { endGroup(m_process); }

xcb_window_t XTestProcess::show(const XWindowSpec& spec) {
    std::ostringstream words;
    words << "show";
    writeArea(words, spec.area);
    words << ' ' << spec.seed << ' ' << spec.borderWidth << ' ' << spec.depth << ' '
          << spec.overridesRedirect << ' ' << spec.onlyTakesInput << ' ' << spec.parent << ' '
          << spec.shape.size();
    for (const QRect& part : spec.shape) {
        writeArea(words, part);
    }
    return ask(QByteArray::fromStdString(words.str()));
}

void XTestProcess::hide(xcb_window_t window) { ask("hide " + QByteArray::number(window)); }

bool XTestProcess::waitUntilShown(xcb_window_t window) {
    return ask("wait " + QByteArray::number(window)) != 0;
}

std::uint32_t XTestProcess::ask(const QByteArray& request) {
    m_process.write(request + '\n');
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(20000)) {
            throw std::runtime_error("the X client gave no answer");
        }
    }
    return m_process.readLine().trimmed().toUInt();
}

} // namespace lumivane::test
