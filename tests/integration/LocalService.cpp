#include "integration/LocalService.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QFile>

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace lumivane::test {

namespace {

constexpr int longestWait = 10000; ///< milliseconds, a bound for what is broken

} // namespace

LocalService::LocalService() {
    QProcessEnvironment environment;
    environment.insert(u"HOME"_qs, m_home.path());
    environment.insert(u"LUMIVANE_SERVICE_PORT"_qs, u"0"_qs);
    m_process.setProcessEnvironment(environment);
    m_process.setStandardErrorFile(m_home.filePath(u"log"_qs));
    startInOwnGroup(m_process, QStringLiteral(LUMIVANE_SERVICE), {});
    if (!waitUntil([this] { return m_process.canReadLine(); })) {
        throw std::runtime_error("the service did not come up: " + log().toStdString());
    }
    const QString line = QString::fromUtf8(m_process.readLine().trimmed());
    m_baseURL = line.mid(line.indexOf(u"http:"));
}

LocalService::~LocalService() { endGroup(m_process); }

void LocalService::ageHandleFilter() const {
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(QFile::encodeName(databaseFile()).constData(), &opened,
                                       SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(opened, sqlite3_close);
    sqlite3_busy_timeout(opened, longestWait);
    if (status != SQLITE_OK || sqlite3_exec(opened, "UPDATE handle_filters SET checked_at = 0",
                                            nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error("the database of the service cannot be changed");
    }
}

QByteArray LocalService::log() const {
    QFile file(m_home.filePath(u"log"_qs));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace lumivane::test
