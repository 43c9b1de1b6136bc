#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <stop_token>
#include <vector>

namespace lumivane {

/// Files that are written but have no name yet. Whatever has none when this goes is removed.
class StagedFiles {
public:
    virtual ~StagedFiles() = default;

    /// Gives every file the name of its place in `names`: all of them or none, never one that
    /// something else has. False when a name is taken, whereupon others may be tried. The files
    /// are on the disk for good when this returns true; after that it is not called again.
    /// Throws std::system_error. They are named one after another in their order, so a process that
    /// is ended in the middle leaves the first of them, each one whole.
    [[nodiscard]] virtual bool publish(const std::vector<QString>& names) = 0;
};

/// Makes new files that are seen whole or not at all: mechanism only. Blocks; call it on a worker.
/// May be called from several threads; each staging is used by one at a time.
class FileStaging {
public:
    virtual ~FileStaging() = default;

    /// Writes one file for each of `contents` into `folder`, an absolute path that is made where
    /// it is missing. Only the user may read the files. A requested stop ends it with Cancelled;
    /// it throws std::system_error, whose condition says what stood in the way. Neither leaves a
    /// file behind.
    virtual std::unique_ptr<StagedFiles> stage(const QString& folder,
                                               const std::vector<QByteArray>& contents,
                                               const std::stop_token& stop) = 0;
};

} // namespace lumivane
