#pragma once

#include "server/configuration/ServiceConfiguration.h"
#include "server/configuration/SettingKeys.h"

namespace lumivane::service {

/// The account side's part of the settings. Without a database of its own choice it is a file in
/// `dataFolder`. Throws ConfigurationError.
AccountConfiguration accountConfiguration(const SettingTexts& settings,
                                          const std::filesystem::path& dataFolder);

} // namespace lumivane::service
