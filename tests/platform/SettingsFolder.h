#pragma once

#include "platform/linux/FileUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumivane::test {

/// A place for a settings file, which is not there yet, and what a person or another program does
/// to it.
class SettingsFolder : public testing::Test {
protected:
    QString inFolder(const QString& name) const { return folder + u'/' + name; }

    FileUserDefaults opened() const { return FileUserDefaults(folder); }

    std::optional<QByteArray> stored(const QString& key = u"a"_qs) const {
        return opened().data(key);
    }

    QByteArray content(const QString& path) const {
        QFile opened(path);
        EXPECT_TRUE(opened.open(QIODevice::ReadOnly)) << path.toStdString();
        return opened.readAll();
    }

    void write(const QString& path, const QByteArray& bytes) const {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile opened(path);
        ASSERT_TRUE(opened.open(QIODevice::WriteOnly)) << path.toStdString();
        ASSERT_EQ(opened.write(bytes), bytes.size());
    }

    /// Names of everything there, hidden ones too, in alphabetical order.
    static QStringList everythingIn(const QString& path) {
        return QDir(path).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// The error that `work` ends with; none when it does not.
    template <typename Work>
    static std::error_code failure(const Work& work) {
        try {
            work();
        } catch (const std::system_error& error) {
            return error.code();
        }
        return {};
    }

    QTemporaryDir place;
    QString folder = place.filePath(u"config/lumivane"_qs);
    QString file = inFolder(u"settings.json"_qs);
};

} // namespace lumivane::test
