#pragma once

#include "platform/FileStaging.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>

namespace lumivane::test {

/// Folders of files in memory, which fail as the test says. The test may look at any time.
class FakeFileStaging final : public FileStaging {
public:
    using Folder = std::map<QString, QByteArray>;

    FakeFileStaging();

    std::unique_ptr<StagedFiles> stage(const QString& folder,
                                       const std::vector<QByteArray>& contents,
                                       const std::stop_token& stop) override;

    /// What has a name in a folder; empty for one that is not there.
    Folder folder(const QString& path) const;

    std::size_t folderCount() const;

    /// How many files are written and have no name, now.
    int stagedCount() const;

    /// How many times files were staged, failures included.
    int stageCount() const;

    /// Somebody else puts a file there.
    void putFile(const QString& folder, const QString& name);

    /// Somebody else removes a folder.
    void removeFolder(const QString& path);

    /// Further calls fail like this; none lets them through again.
    void failStaging(std::optional<std::errc> error);
    void failPublishing(std::optional<std::errc> error);

    /// Every name counts as taken.
    void takeAllNames();

    /// From now on staging and publishing, respectively, wait on their workers for `release`; a
    /// stop does not wake them.
    void holdStaging();
    void holdPublishing();
    void release();

    /// Whether a worker waits for `release`.
    bool isHolding() const;

private:
    struct State;
    class Staged;

    std::shared_ptr<State> m_state;
};

} // namespace lumivane::test
