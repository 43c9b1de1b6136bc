#pragma once

#include <QString>

#include <optional>
#include <stop_token>

namespace lumivane {

/// The bus of the machine's services; empty where there is none.
QString usualSystemBusAddress();

/// The name that the user gave this machine, by the service that keeps it; none where there is no
/// such service, name or bus. Blocks until it answers or a stop is requested; any thread.
std::optional<QString> askPrettyHostname(const QString& busAddress, const std::stop_token& stop);

} // namespace lumivane
