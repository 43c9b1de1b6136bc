#include "integration/LumivaneProgram.h"

#include "domain/AppSettingsCoding.h"
#include "domain/StrictJson.h"
#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

namespace lumivane::test {

LumivaneProgram::LumivaneProgram(const XServer& display, const AppSettings& settings,
                                 const QString& serviceURL, const QByteArray& token) {
    m_environment = QProcessEnvironment::systemEnvironment();
    for (const QString& folder : {u"CONFIG"_qs, u"DATA"_qs, u"CACHE"_qs}) {
        m_environment.insert(u"XDG_%1_HOME"_qs.arg(folder), m_home.filePath(folder));
    }
    m_environment.insert(u"HOME"_qs, m_home.path());
    m_environment.insert(u"XDG_RUNTIME_DIR"_qs, m_home.path());
    m_environment.insert(u"DISPLAY"_qs, display.displayName());
    m_environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs,
                         u"unix:path="_qs + m_home.filePath(u"no-bus"_qs));

    write(u"CONFIG/lumivane/settings.json"_qs,
          writeJson(JsonCoding<AppSettings>::encode(settings)));
    Json information = Json::object();
    information["LumivaneAPIBaseURL"] = serviceURL.toStdString();
    write(u"CONFIG/lumivane/info.json"_qs, writeJson(information));
    write(u"DATA/lumivane-service/development-token"_qs, token + "\n");

    m_process.setProcessEnvironment(m_environment);
    m_process.setStandardErrorFile(m_home.filePath(u"log"_qs));
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_PROGRAM), {});
    if (!waitForLog("Service health check completed; healthy=1")) {
        throw std::runtime_error("lumivane did not start: " + log().toStdString());
    }
}

LumivaneProgram::~LumivaneProgram() { endGroup(m_process); }

QByteArray LumivaneProgram::log() const {
    QFile file(m_home.filePath(u"log"_qs));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool LumivaneProgram::waitForLog(const QByteArray& text) const {
    return waitUntil([this, &text] { return log().contains(text); }, std::chrono::seconds(60));
}

int LumivaneProgram::terminate() {
    m_process.terminate();
    const bool hasEnded = waitUntil([this] { return m_process.state() == QProcess::NotRunning; });
    return hasEnded && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

void LumivaneProgram::write(const QString& path, const QByteArray& contents) const {
    const QString whole = m_home.filePath(path);
    QDir().mkpath(QFileInfo(whole).path());
    QFile file(whole);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        throw std::runtime_error("a file of the program's folders cannot be written");
    }
}

DocumentWindow::DocumentWindow(const LumivaneProgram& program, const QString& html,
                               const QRect& area) {
    QFile file(m_folder.filePath(u"document.html"_qs));
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("the document cannot be written");
    }
    file.write(html.toUtf8());
    file.close();
    m_process.setProcessEnvironment(program.environment());
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_SAMPLE_DOCUMENT),
                    {file.fileName(), QString::number(area.x()), QString::number(area.y()),
                     QString::number(area.width()), QString::number(area.height())});
    // It says so once its window has been painted.
    const bool isShown =
        waitUntil([this] { return m_process.readAllStandardOutput().contains("shown"); });
    if (!isShown) {
        throw std::runtime_error("the document was not shown");
    }
}

DocumentWindow::~DocumentWindow() { endGroup(m_process); }

} // namespace lumivane::test
