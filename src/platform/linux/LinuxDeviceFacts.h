#pragma once

#include "platform/DeviceFacts.h"

namespace lumivane {

/// What the files of the system say of this machine, and the service that keeps its name
/// (org.freedesktop.hostname1) where they do not say it, as in a container.
class LinuxDeviceFacts final : public DeviceFacts {
public:
    /// Where everything lies, "/" but for tests, and the bus of the machine's services; an empty
    /// address stands for none.
    explicit LinuxDeviceFacts(QString root = u"/"_qs, QString systemBusAddress = u""_qs);

    /// The usual bus of the machine's services.
    static QString systemBusAddress();

    std::optional<QString> computerName(const std::stop_token& stop) override;
    QString hostName() override;

    /// As the firmware calls the product, or the device tree where there is no such firmware.
    std::optional<QString> hardwareModel() override;

    bool hasInternalBattery() override;

    /// As os-release(5) says it; a system without a version number goes by its kernel's.
    SystemVersion systemVersion() override;

private:
    QString path(const QString& name) const;

    QString m_root;
    QString m_systemBusAddress;
};

} // namespace lumivane
