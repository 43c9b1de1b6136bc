#pragma once

#include "platform/UserDefaults.h"
#include "platform/linux/UserDefaultsText.h"

#include <QLatin1String>

#include <filesystem>
#include <functional>
#include <string>

namespace lumivane {

/// All keys of a suite in one JSON file, readable only by its owner; see UserDefaultsText.
///
/// Each operation reads the file anew, so what another process or a person wrote counts at once.
/// Writing replaces the whole file in one step: temporary file, rename. Two processes that write
/// take turns by a lock on the folder and lose none of each other's keys. A process that holds the
/// lock for a quarter of a second without anything changing in the folder counts as hung, and then
/// the last one to write wins. No wait for a turn is longer than about a second, and only that long
/// where many others go on writing.
///
/// Once the file is replaced, a disk that fails to make the new name permanent is no failure of the
/// write: every reader finds the new data, and only a loss of power could bring the old back.
///
/// A link to a file elsewhere stays: the file that it names is the one that is replaced.
///
/// A file that is damaged as a whole (no such JSON, over 1 MiB, no regular file, not readable)
/// counts as empty. It stays until something is written, and is then kept beside the new one as
/// "NAME.damaged", the next ones as "NAME.damaged-2" to "NAME.damaged-5". With all five there, only
/// the last one is replaced, so that the first damage and the latest can both be looked at. A link
/// that leads to no regular file is kept like this itself, and what it leads to is left alone.
class FileUserDefaults final : public UserDefaults {
public:
    static constexpr QLatin1String standardSuite{"settings"};
    static constexpr QLatin1String testingSuite{"com.marnoth.Lumivane.Testing"};

    /// The folder is made with its parents, for its owner only, when something is first written.
    /// The suite is the name of the file without ".json".
    explicit FileUserDefaults(const QString& folder, const QString& suite = standardSuite);

    std::optional<QByteArray> data(const QString& key) const override;

    /// More than 1 MiB in all is refused as std::errc::file_too_large.
    void set(const QByteArray& data, const QString& key) override;

    void removeObject(const QString& key) override;

    /// Also the damaged files beside, and a link with the file that it names.
    void removePersistentDomain() override;

private:
    using Entries = UserDefaultsText::Entries;

    void change(const std::function<void(Entries&)>& edit);

    std::filesystem::path m_folder;
    std::string m_name;
};

} // namespace lumivane
