#pragma once

#include "platform/FileStaging.h"

namespace lumivane {

/// Files without a name, synchronised, then linked under the one they are to have: a process that
/// is ended before leaves nothing of them. Where a file system has no such files, hidden ones
/// instead, renamed without replacing; each staging removes those that were left behind an hour ago
/// or earlier. Any thread.
class LinuxFileStaging final : public FileStaging {
public:
    std::unique_ptr<StagedFiles> stage(const QString& folder,
                                       const std::vector<QByteArray>& contents,
                                       const std::stop_token& stop) override;
};

} // namespace lumivane
