#include "support/TrayPrograms.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDir>
#include <QFile>

#include <xcb/xcb.h>

#include <cstdlib>
#include <stdexcept>

namespace lumivane::test {

namespace {

constexpr auto traySelection = "_NET_SYSTEM_TRAY_S0";

constexpr auto panelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="30"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="%1"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";

/// The settings daemon lies in the folder of the machine's architecture, beside other libraries.
QString settingsDaemon() {
    const QDir libraries(u"/usr/lib"_qs);
    for (const QString& folder : libraries.entryList(QDir::Dirs)) {
        QString path = libraries.filePath(folder + u"/xfce4/xfconf/xfconfd"_qs);
        if (QFile::exists(path)) {
            return path;
        }
    }
    throw std::runtime_error("the panel's settings daemon is missing");
}

void writeFile(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("cannot write the settings of the panel");
    }
    file.write(content);
}

bool isNear(QRgb left, QRgb right) {
    constexpr int tolerance = 6;
    return std::abs(qRed(left) - qRed(right)) <= tolerance &&
           std::abs(qGreen(left) - qGreen(right)) <= tolerance &&
           std::abs(qBlue(left) - qBlue(right)) <= tolerance;
}

} // namespace

EmbeddingTray::EmbeddingTray(PanelDesktop& desktop, int height, Ground ground) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(desktop.server().displayName()));
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    QStringList arguments{u"--edge"_qs,      u"top"_qs,      u"--align"_qs,
                          u"left"_qs,        u"--height"_qs, QString::number(height),
                          u"--widthtype"_qs, u"request"_qs,  u"--SetDockType"_qs,
                          u"false"_qs};
    if (ground == Ground::transparent) {
        arguments << u"--transparent"_qs << u"true"_qs << u"--alpha"_qs << u"255"_qs;
    }
    startInOwnGroup(m_process, u"trayer"_qs, arguments);
    if (!waitUntil([&] { return desktop.client().selectionOwner(traySelection) != XCB_NONE; })) {
        endGroup(m_process);
        throw std::runtime_error("the tray did not come up");
    }
}

EmbeddingTray::~EmbeddingTray() { endGroup(m_process); }

DesktopPanel::DesktopPanel(PanelDesktop& desktop) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(desktop.server().displayName()));
    environment.insert(u"XDG_CONFIG_HOME"_qs, m_home.path());
    environment.insert(u"NO_AT_BRIDGE"_qs, u"1"_qs);
    writeFile(m_home.filePath(u"xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"_qs),
              QString::fromLatin1(panelSettings).arg(height).toUtf8());
    for (QProcess* process : {&m_settings, &m_panel}) {
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::SeparateChannels);
    }
    startInOwnGroup(m_settings, settingsDaemon(), {});
    startInOwnGroup(m_panel, u"xfce4-panel"_qs, {u"--disable-wm-check"_qs});
}

DesktopPanel::~DesktopPanel() {
    endGroup(m_panel);
    endGroup(m_settings);
}

std::optional<QRect> areaOfColor(const QImage& screen, QRgb color) {
    QRect area;
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < screen.width(); ++x) {
            if (isNear(screen.pixel(x, y), color)) {
                area |= QRect(x, y, 1, 1);
            }
        }
    }
    return area.isEmpty() ? std::nullopt : std::optional(area);
}

std::optional<QRect> waitForColor(PanelDesktop& desktop, QRgb color) {
    const QRect top(0, 0, 700, 120);
    std::optional<QRect> last;
    waitUntil([&] {
        const auto before = last;
        last = areaOfColor(desktop.screen(top), color);
        return last && last == before;
    });
    return last;
}

} // namespace lumivane::test
