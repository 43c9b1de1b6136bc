#pragma once

#include "async/SerialCalls.h"
#include "notes/NotesServing.h"
#include "platform/FileStaging.h"

#include <QString>
#include <QThreadPool>

#include <stop_token>

namespace lumivane {

/// Keeps answers as files in a folder of the user's documents, for desktops without a note program
/// of their own: a page for any browser, and beside it the Markdown for other note programs.
///
/// Main thread; the work is done on the pool, one save after another. Nothing is ever written over,
/// and a note is there whole or not at all.
class FolderNotesService final : public NotesServing {
public:
    /// How many notes of one title and one second there may be.
    static constexpr int maximumSameNames = 1000;

    /// `files` and `pool` outlive this and every save under way. Notes go into a folder of their
    /// own in `documentsFolder`, an absolute path, which need not be there yet.
    FolderNotesService(FileStaging& files, QThreadPool& pool, const QString& documentsFolder);

    /// A place that the user may not write to is `automationDenied`, all else `creationFailed`. A
    /// save that is stopped ends at once; whether its note is kept depends on how far it had come.
    QCoro::Task<void> createLeetCodeNote(LeetCodeNote note, std::stop_token stop) override;

private:
    FileStaging* m_files;
    QThreadPool* m_pool;
    QString m_folder; ///< empty where the user has no documents folder
    SerialCalls m_calls;
};

} // namespace lumivane
