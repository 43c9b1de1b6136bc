#pragma once

#include "async/Clock.h"
#include "async/SerialCalls.h"
#include "notes/NotesServing.h"
#include "platform/FileStaging.h"

#include <QString>
#include <QThreadPool>

#include <chrono>
#include <functional>
#include <stop_token>

namespace lumivane {

/// Keeps answers as files in a folder of the user's documents, for desktops without a note program
/// of their own: a page for any browser, and beside it the Markdown for other note programs.
///
/// Main thread; the work is done on the pool, one save after another. Nothing is ever written over.
/// A file of a note is there whole or not at all, and the page only with the Markdown beside it. A
/// save that fails leaves neither; a process that is ended between the two may leave the Markdown.
class FolderNotesService final : public NotesServing {
public:
    /// Where the user's documents are at this moment: an absolute path, which need not be there
    /// yet. Anything else means that the user has no such place. Main thread; must not block.
    using DocumentsFolder = std::function<QString()>;

    /// How many notes of one title and one second there may be.
    static constexpr int maximumSameNames = 1000;

    /// How long a save may take before it counts as failed, its wait for earlier ones included.
    static constexpr std::chrono::seconds patience{30};

    /// Each save asks `documentsFolder` anew and uses a folder of its own in it. The others outlive
    /// this and every save under way.
    FolderNotesService(FileStaging& files, QThreadPool& pool, Clock& clock,
                       DocumentsFolder documentsFolder);

    /// A place that the user may not write to is `automationDenied`, all else `creationFailed`. A
    /// save that is stopped ends at once; whether its note is kept depends on how far it had come.
    /// So does one that has used up its patience, where a file system no longer answers: the place
    /// in the line stays taken until that answers, and no worker beyond this one waits for it.
    QCoro::Task<void> createLeetCodeNote(LeetCodeNote note, std::stop_token stop) override;

private:
    FileStaging* m_files;
    QThreadPool* m_pool;
    Clock* m_clock;
    DocumentsFolder m_documentsFolder;
    SerialCalls m_calls;
};

} // namespace lumivane
