#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace lumivane {

/// Data under keys that outlives the process: mechanism only. Main thread only. Reading takes less
/// than a millisecond; writing takes as long as the disk does to have the data for good, mostly a
/// few milliseconds, and a quarter of a second more where another process hangs in the middle of
/// writing.
///
/// When `set` or `removeObject` throws, what was there before is still there, and a process that is
/// killed in the middle leaves either the old data or the new, whole.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// None for a key that is not there; what cannot be read counts as not there.
    virtual std::optional<QByteArray> data(const QString& key) const = 0;

    /// On the disk for good on return. Throws std::system_error, but not for a disk that fails once
    /// the new data is in place.
    virtual void set(const QByteArray& data, const QString& key) = 0;

    /// Does nothing for a key that is not there. Throws std::system_error.
    virtual void removeObject(const QString& key) = 0;

    /// Removes every key at once, and whatever else was kept with them. Throws std::system_error;
    /// then a part may be gone, or all of it with the disk not sure to keep it so.
    virtual void removePersistentDomain() = 0;
};

} // namespace lumivane
