#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <stdexcept>

namespace lumivane::test {

/// The test's process has a home of its own while this lives.
class UserHome {
public:
    UserHome() {
        qputenv("HOME", QFile::encodeName(path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(u"settings"_qs)));
        QDir(path()).mkdir(u"settings"_qs);
    }

    ~UserHome() {
        put("HOME", m_homeBefore);
        put("XDG_CONFIG_HOME", m_settingsBefore);
    }

    UserHome(const UserHome&) = delete;
    UserHome& operator=(const UserHome&) = delete;

    QString path() const { return m_home.path(); }

    QString path(const QString& name) const { return m_home.filePath(name); }

    /// What the desktop has written down about the user's folders.
    void describeFolders(const QByteArray& lines) const {
        QFile file(path(u"settings/user-dirs.dirs"_qs));
        if (!file.open(QIODevice::WriteOnly) || file.write(lines) != lines.size()) {
            throw std::runtime_error("the user's folders cannot be described");
        }
    }

private:
    static void put(const char* name, const QByteArray& value) {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }

    QByteArray m_homeBefore = qgetenv("HOME");
    QByteArray m_settingsBefore = qgetenv("XDG_CONFIG_HOME");
    QTemporaryDir m_home;
};

} // namespace lumivane::test
