#include "support/XServer.h"

#include "support/XTestClient.h"
#include "support/XTestProcess.h"

#include <QProcessEnvironment>

#include <signal.h>

#include <chrono>
#include <stdexcept>

namespace lumivane::test {

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// A compositor announces itself before it paints, and the screen is black in between; and it
// paints later than windows go, so what is shown to it would be seen for a while.
bool paintsAndClears(XTestClient& client) {
    const QRect area(0, 0, 8, 8);
    const xcb_window_t below = client.show({.area = area, .seed = 1});
    const xcb_window_t above = client.show({.area = area, .seed = 2, .depth = 32});
    const QRgb front = XTestClient::patternPixel(2, 0, 0, 32);
    const QRgb back = XTestClient::patternPixel(1, 0, 0, 24);
    const int blended = qRed(front) + qRed(back) * (255 - qAlpha(front)) / 255;
    const auto shows = [&](int red) {
        return qAbs(qRed(client.screen(area).pixel(0, 0)) - red) <= 1;
    };
    if (!client.waitUntil(seconds(20), [&] { return client.hasCompositor() && shows(blended); })) {
        return false;
    }
    client.hide(above);
    if (!client.waitUntil(seconds(20), [&] { return shows(qRed(back)); })) {
        return false;
    }
    const QImage last = client.screen(area);
    client.hide(below);
    return client.waitUntil(seconds(20), [&] { return client.screen(area) != last; });
}

} // namespace

XServer::XServer(const QSize& size) {
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_server, u"Xvfb"_qs,
                    {u"-displayfd"_qs, u"1"_qs, u"-screen"_qs, u"0"_qs,
                     u"%1x%2x24"_qs.arg(size.width()).arg(size.height()), u"-nolisten"_qs,
                     u"tcp"_qs, u"-noreset"_qs});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(20000)) {
            endGroup(m_server);
            throw std::runtime_error("the X server did not come up");
        }
    }
    m_displayName = ':' + m_server.readLine().trimmed();
}

XServer::~XServer() {
    endGroup(m_compositor);
    endGroup(m_windowManager);
    endGroup(m_server);
}

void XServer::kill() {
    ::kill(static_cast<pid_t>(m_server.processId()), SIGKILL);
    m_server.waitForFinished();
}

void XServer::startWindowManager() {
    m_windowManager.setProcessEnvironment(environment());
    m_windowManager.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_windowManager, u"openbox"_qs, {});
    // It announces itself long before it looks after windows, and forgets those that come in
    // between. So windows are shown until one of them gets its frame.
    XTestClient client(m_displayName);
    const QRect area(0, 0, 20, 20);
    for (int attempt = 0; attempt < 200; ++attempt) {
        const xcb_window_t window = client.show({.area = area, .overridesRedirect = false});
        xcb_window_t frame = client.root();
        const bool isManaged = client.waitUntil(milliseconds(100), [&] {
            frame = client.parent(window).value_or(client.root());
            return frame != client.root();
        });
        client.hide(window);
        if (!isManaged) {
            continue;
        }
        // The list of its windows is renewed before the frame is gone.
        const bool isGone = client.waitUntil(
            seconds(10), [&] { return client.managedWindows().empty() && !client.parent(frame); });
        if (isGone) {
            return;
        }
        break;
    }
    throw std::runtime_error("the window manager did not come up");
}

void XServer::stopWindowManager() { endGroup(m_windowManager); }

void XServer::startCompositor() {
    m_compositor.setProcessEnvironment(environment());
    m_compositor.setProcessChannelMode(QProcess::SeparateChannels);
    startInOwnGroup(m_compositor, u"picom"_qs,
                    {u"--backend"_qs, u"xrender"_qs, u"--config"_qs, u"/dev/null"_qs});
    XTestClient client(m_displayName);
    if (!paintsAndClears(client)) {
        throw std::runtime_error("the compositor did not come up");
    }
}

void XServer::stopCompositor() { endGroup(m_compositor); }

void XServer::addMonitor(const QString& name, const QRect& area) {
    const QString place =
        u"%1/300x%2/300+%3+%4"_qs.arg(area.width()).arg(area.height()).arg(area.x()).arg(area.y());
    const bool takesOutput = m_outputMonitor.isEmpty();
    run(u"xrandr"_qs, {u"--setmonitor"_qs, (takesOutput ? u"*"_qs : QString()) + name, place,
                       takesOutput ? u"screen"_qs : u"none"_qs});
    if (takesOutput) {
        m_outputMonitor = name;
    }
}

void XServer::removeMonitor(const QString& name) {
    run(u"xrandr"_qs, {u"--delmonitor"_qs, name});
    if (name == m_outputMonitor) {
        m_outputMonitor.clear();
    }
}

QByteArray XServer::run(const QString& program, const QStringList& arguments) const {
    QProcess process;
    process.setProcessEnvironment(environment());
    startInOwnGroup(process, program, arguments);
    process.waitForFinished(20000);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        endGroup(process);
        throw std::runtime_error(program.toStdString() + " failed");
    }
    return process.readAllStandardOutput();
}

QProcessEnvironment XServer::environment() const {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(m_displayName));
    for (const auto* folder : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"}) {
        environment.insert(QString::fromLatin1(folder), m_home.path());
    }
    return environment;
}

} // namespace lumivane::test
