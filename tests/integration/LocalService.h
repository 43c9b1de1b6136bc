#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace lumivane::test {

/// The real service on a free port of the loopback interface, with an empty data folder and its
/// own pages in place of the providers. It ends with this object, or with the test's process. It
/// throws std::runtime_error where it does not start.
class LocalService {
public:
    LocalService();
    ~LocalService();
    LocalService(const LocalService&) = delete;
    LocalService& operator=(const LocalService&) = delete;

    const QString& baseURL() const { return m_baseURL; }

    /// As though it had not compared the filter of handles with them for long, so that the next one
    /// who asks gets one of all handles.
    void ageHandleFilter() const;

    /// Where it keeps its accounts; others may open it as well.
    QString databaseFile() const {
        return m_home.filePath(u".local/share/lumivane-service/service.sqlite3"_qs);
    }

    /// Everything that it logged so far.
    QByteArray log() const;

private:
    QTemporaryDir m_home;
    QProcess m_process;
    QString m_baseURL;
};

} // namespace lumivane::test
