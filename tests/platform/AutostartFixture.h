#pragma once

#include "platform/linux/AutostartLoginItem.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumivane {

/// A user's configuration in a folder of the test's own, and a program to start.
class AutostartFixture : public testing::Test {
protected:
    AutostartFixture() { addProgram(program); }

    QString folder() const { return place.filePath(u"config"_qs); }

    QString path() const { return folder() + u"/autostart/com.marnoth.Lumivane.desktop"_qs; }

    AutostartLoginItem itemFor(const QString& started, const QStringList& desktops = {}) const {
        return {folder(), started, desktops};
    }

    /// Makes it with what lies above it; running, it writes its arguments beside itself.
    static void addProgram(const QString& path) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nprintf '%s\\n' \"$@\" >\"$0.new\" && mv \"$0.new\" \"$0.out\"\n");
        file.close();
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void write(const QByteArray& bytes) const {
        QDir().mkpath(folder() + u"/autostart"_qs);
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QByteArray written() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir place;
    QString program = place.filePath(u"bin/lumivane"_qs);
    AutostartLoginItem item = itemFor(program);
};

} // namespace lumivane
