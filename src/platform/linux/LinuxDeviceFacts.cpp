#include "platform/linux/LinuxDeviceFacts.h"

#include "platform/linux/HostnameService.h"
#include "platform/linux/SystemFile.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

constexpr qsizetype maximumSupplies = 64;

/// Of the longest name or model that anybody gives; the rest is cut off, not judged.
constexpr qsizetype maximumTextLength = 1024;

std::optional<QString> bounded(const std::optional<QString>& text) {
    return text && !text->trimmed().isEmpty()
               ? std::optional(text->trimmed().left(maximumTextLength))
               : std::nullopt;
}

/// Batteries of mice and the like say that they are of a device; those of the machine say that they
/// are of the system, or nothing at all.
bool isOwnBattery(const QString& supply) {
    const auto fact = [&supply](const QString& name) {
        return readSystemLine(supply + u'/' + name).value_or(QString()).trimmed();
    };
    return fact(u"type"_qs) == u"Battery" && fact(u"scope"_qs) != u"Device" &&
           fact(u"present"_qs) != u"0";
}

/// The first one or two numbers of a version such as "12", "22.04" or "6.1.0-18-amd64".
SystemVersion versioned(const QString& name, const QString& version) {
    static const QRegularExpression numbers(u"^([0-9]{1,6})(?:\\.([0-9]{1,6}))?(?![0-9])"_qs);
    const QRegularExpressionMatch match = numbers.match(version.left(maximumTextLength));
    return {name.left(maximumTextLength), match.captured(1), match.captured(2)};
}

} // namespace

LinuxDeviceFacts::LinuxDeviceFacts(QString root, QString systemBusAddress)
    : m_root(std::move(root))
    , m_systemBusAddress(std::move(systemBusAddress)) {}

QString LinuxDeviceFacts::systemBusAddress() { return usualSystemBusAddress(); }

std::optional<QString> LinuxDeviceFacts::computerName(const std::stop_token& stop) {
    const auto information = readAssignments(path(u"etc/machine-info"_qs));
    const auto pretty = bounded(information.value(u"PRETTY_HOSTNAME"_qs));
    return pretty ? pretty : bounded(askPrettyHostname(m_systemBusAddress, stop));
}

QString LinuxDeviceFacts::hostName() {
    const auto running = bounded(readSystemLine(path(u"proc/sys/kernel/hostname"_qs)));
    if (running && *running != u"(none)") {
        return *running;
    }
    return bounded(readSystemLine(path(u"etc/hostname"_qs))).value_or(QString());
}

std::optional<QString> LinuxDeviceFacts::hardwareModel() {
    const auto product = bounded(readSystemLine(path(u"sys/class/dmi/id/product_name"_qs)));
    return product ? product
                   : bounded(readSystemLine(path(u"sys/firmware/devicetree/base/model"_qs)));
}

bool LinuxDeviceFacts::hasInternalBattery() {
    const QDir supplies(path(u"sys/class/power_supply"_qs));
    const QStringList names = supplies.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    const QStringList looked = names.first(std::min(names.size(), maximumSupplies));
    return std::any_of(looked.begin(), looked.end(), [&supplies](const QString& name) {
        return isOwnBattery(supplies.filePath(name));
    });
}

SystemVersion LinuxDeviceFacts::systemVersion() {
    auto release = readAssignments(path(u"etc/os-release"_qs));
    if (release.isEmpty()) {
        release = readAssignments(path(u"usr/lib/os-release"_qs));
    }
    const QString name = release.value(u"NAME"_qs).trimmed();
    SystemVersion own =
        versioned(name.isEmpty() ? u"Linux"_qs : name, release.value(u"VERSION_ID"_qs));
    if (!own.majorVersion.isEmpty()) {
        return own;
    }
    const auto kernel = readSystemLine(path(u"proc/sys/kernel/osrelease"_qs));
    return versioned(u"Linux"_qs, kernel.value_or(QString()));
}

QString LinuxDeviceFacts::path(const QString& name) const { return m_root + u'/' + name; }

} // namespace lumivane
