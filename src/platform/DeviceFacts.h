#pragma once

#include <QString>

#include <optional>
#include <stop_token>

namespace lumivane {

/// The running system's name and version, such as "macOS", "15", "2". The numbers are texts of
/// digits, since some systems count with leading zeros ("22.04"); either may be empty.
struct SystemVersion {
    QString name;
    QString majorVersion;
    QString minorVersion;

    bool operator==(const SystemVersion&) const = default;
};

/// What can be found out about this machine: mechanism only. Texts come as they were found, but
/// bounded in length.
///
/// Blocks; call it on a worker. Any thread. Never throws: what cannot be found is absent.
class DeviceFacts {
public:
    virtual ~DeviceFacts() = default;

    /// The name that the user gave this machine. May ask another program, for as long as that takes
    /// or until a stop is requested.
    virtual std::optional<QString> computerName(const std::stop_token& stop) = 0;

    /// Its name on the network; may be empty.
    virtual QString hostName() = 0;

    /// What the maker calls the model.
    virtual std::optional<QString> hardwareModel() = 0;

    /// Whether it has a battery of its own; those of a mouse or of an emergency supply do not
    /// count.
    virtual bool hasInternalBattery() = 0;

    virtual SystemVersion systemVersion() = 0;
};

} // namespace lumivane
