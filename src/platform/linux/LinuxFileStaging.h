#pragma once

#include "platform/FileStaging.h"

namespace lumivane {

/// Files under hidden names of their own, synchronised, then renamed without replacing; where a
/// file system cannot do that in one step, linked under the new name instead. Any thread.
class LinuxFileStaging final : public FileStaging {
public:
    std::unique_ptr<StagedFiles> stage(const QString& folder,
                                       const std::vector<QByteArray>& contents,
                                       const std::stop_token& stop) override;
};

} // namespace lumivane
