#include "support/LumivaneProgram.h"

#include "domain/AppSettingsCoding.h"
#include "domain/StrictJson.h"
#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace lumivane::test {

namespace {

constexpr auto settingsKey = "Lumivane.native.settings.v10";
const QString settingsFile = QStringLiteral("CONFIG/lumivane/settings.json");

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

LumivaneHome::LumivaneHome(const XServer& display)
    : environment(QProcessEnvironment::systemEnvironment()) {
    for (const QString& folder : {u"CONFIG"_qs, u"DATA"_qs, u"CACHE"_qs}) {
        environment.insert(u"XDG_%1_HOME"_qs.arg(folder), path(folder));
    }
    environment.insert(u"HOME"_qs, m_folder.path());
    environment.insert(u"XDG_RUNTIME_DIR"_qs, m_folder.path());
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(display.displayName()));
    environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    setSessionBus(u"unix:path="_qs + path(u"no-bus"_qs));
}

void LumivaneHome::setSessionBus(const QString& address) {
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, address);
}

void LumivaneHome::store(const AppSettings& settings) const {
    Json stored = Json::object();
    stored[settingsKey] = writeJson(JsonCoding<AppSettings>::encode(settings)).toStdString();
    write(settingsFile, writeJson(stored));
}

std::optional<AppSettings> LumivaneHome::storedSettings() const {
    try {
        const Json stored = parseJson(contentsOf(path(settingsFile)));
        const auto text = stored.at(settingsKey).get<std::string>();
        return JsonCoding<AppSettings>::decode(parseJson(QByteArray::fromStdString(text)));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void LumivaneHome::setService(const QString& url) const {
    Json information = Json::object();
    information["LumivaneAPIBaseURL"] = url.toStdString();
    write(u"CONFIG/lumivane/info.json"_qs, writeJson(information));
}

void LumivaneHome::write(const QString& name, const QByteArray& contents) const {
    const QString whole = path(name);
    QDir().mkpath(QFileInfo(whole).path());
    QFile file(whole);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        throw std::runtime_error("a file of the program's folders cannot be written");
    }
}

LumivaneProgram::LumivaneProgram(const LumivaneHome& home, const QStringList& arguments)
    : m_logFile(home.path(u"log-"_qs + QUuid::createUuid().toString(QUuid::WithoutBraces))) {
    m_process.setProcessEnvironment(home.environment);
    m_process.setStandardErrorFile(m_logFile);
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_PROGRAM), arguments);
}

LumivaneProgram::~LumivaneProgram() { endGroup(m_process); }

QByteArray LumivaneProgram::log() const { return contentsOf(m_logFile); }

bool LumivaneProgram::waitForLog(const QByteArray& text) const {
    return waitUntil([this, &text] { return log().contains(text); }, std::chrono::seconds(60));
}

void LumivaneProgram::requireLog(const QByteArray& text) const {
    if (!waitForLog(text)) {
        throw std::runtime_error("lumivane did not log what was awaited: " + log().toStdString());
    }
}

int LumivaneProgram::waitForEnd() {
    if (!waitUntil([this] { return !isRunning(); })) {
        return -1;
    }
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : endedBySignal;
}

bool LumivaneProgram::hasSocket() const {
    const QDir descriptors(u"/proc/%1/fd"_qs.arg(processID()));
    const QStringList names = descriptors.entryList(QDir::System | QDir::Files);
    return std::any_of(names.begin(), names.end(), [&](const QString& name) {
        return QFile::symLinkTarget(descriptors.filePath(name)).contains(u"socket:"_qs);
    });
}

void LumivaneProgram::signal(int number) const {
    if (isRunning()) {
        ::kill(pid_t(processID()), number);
    }
}

int LumivaneProgram::terminate() {
    m_process.terminate();
    return waitForEnd();
}

DocumentWindow::DocumentWindow(const LumivaneHome& home, const QString& html, const QRect& area) {
    QFile file(m_folder.filePath(u"document.html"_qs));
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("the document cannot be written");
    }
    file.write(html.toUtf8());
    file.close();
    m_process.setProcessEnvironment(home.environment);
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
