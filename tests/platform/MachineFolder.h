#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <stdexcept>

namespace lumivane::test {

/// A folder in the place of "/", as empty as the test leaves it.
class MachineFolder {
public:
    QString path() const { return m_folder.path(); }

    void write(const QString& name, const QByteArray& content) const {
        const QString path = m_folder.filePath(name);
        QFile file(path);
        if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly)) {
            throw std::runtime_error("cannot write " + path.toStdString());
        }
        file.write(content);
    }

    /// A power supply; what is null is not there.
    void addSupply(const QString& name, const QByteArray& type, const QByteArray& scope = {},
                   const QByteArray& present = {}) const {
        const QString folder = u"sys/class/power_supply/"_qs + name;
        write(folder + u"/type"_qs, type);
        if (!scope.isNull()) {
            write(folder + u"/scope"_qs, scope);
        }
        if (!present.isNull()) {
            write(folder + u"/present"_qs, present);
        }
    }

private:
    QTemporaryDir m_folder;
};

} // namespace lumivane::test
