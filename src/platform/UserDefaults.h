#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace lumivane {

/// Data under keys that outlives the process: mechanism only. Main thread only; each operation
/// takes a few milliseconds at most.
///
/// What was there before an operation stays there when the operation throws, and a process that is
/// killed in the middle leaves either the old data or the new, whole.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// None for a key that is not there; what cannot be read counts as not there.
    virtual std::optional<QByteArray> data(const QString& key) const = 0;

    /// On the disk for good on return. Throws std::system_error.
    virtual void set(const QByteArray& data, const QString& key) = 0;

    /// Does nothing for a key that is not there. Throws std::system_error.
    virtual void removeObject(const QString& key) = 0;

    /// Removes every key at once, and whatever else was kept with them. Throws std::system_error.
    virtual void removePersistentDomain() = 0;
};

} // namespace lumivane
