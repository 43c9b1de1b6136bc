#include "notes/FolderNotesService.h"

#include "async/Cancelled.h"
#include "async/PoolJob.h"
#include "notes/NoteDocument.h"
#include "notes/NoteNaming.h"
#include "telemetry/LumivaneLog.h"

#include <QDir>

#include <system_error>
#include <utility>

namespace lumivane {

namespace {

bool isRefusal(const std::error_code& code) {
    return code == std::errc::permission_denied || code == std::errc::operation_not_permitted ||
           code == std::errc::read_only_file_system;
}

/// The Markdown comes first, so that whoever sees the page finds the Markdown beside it.
void publish(StagedFiles& files, const QString& stem) {
    for (int number = 1; number <= FolderNotesService::maximumSameNames; ++number) {
        const QString suffix = number == 1 ? QString() : u" (%1)"_qs.arg(number);
        const std::vector<QString> names{stem + suffix + u".md"_qs, stem + suffix + u".html"_qs};
        if (files.publish(names)) {
            return;
        }
    }
    throw NotesServiceError(NotesServiceError::Case::creationFailed);
}

/// Programs take a file with a zero byte for no text at all.
QByteArray markdownFile(const LeetCodeNote& note) {
    return QString(note.markdown).remove(QChar::Null).toUtf8();
}

/// Blocks; on a worker.
void save(FileStaging& staging, const QString& folder, const LeetCodeNote& note,
          const std::stop_token& stop) {
    try {
        throwIfStopped(stop);
        const auto files = staging.stage(folder, {markdownFile(note), noteDocument(note)}, stop);
        throwIfStopped(stop);
        publish(*files, NoteNaming::fileStem(note));
    } catch (const NotesServiceError&) {
        throw;
    } catch (const std::system_error& error) {
        LumivaneLog::lifecycle.error("A note file could not be written; error=%{public}d",
                                     error.code().value());
        throw NotesServiceError(isRefusal(error.code()) ? NotesServiceError::Case::automationDenied
                                                        : NotesServiceError::Case::creationFailed);
    } catch (const std::exception&) {
        throw NotesServiceError(NotesServiceError::Case::creationFailed); // out of memory
    }
}

/// Empty where there is none.
QString noteFolder(const QString& documentsFolder) {
    return QDir::isAbsolutePath(documentsFolder)
               ? QDir(documentsFolder).filePath(NoteNaming::folderName)
               : QString();
}

} // namespace

FolderNotesService::FolderNotesService(FileStaging& files, QThreadPool& pool, Clock& clock,
                                       DocumentsFolder documentsFolder)
    : m_files(&files)
    , m_pool(&pool)
    , m_clock(&clock)
    , m_documentsFolder(std::move(documentsFolder)) {}

QCoro::Task<void> FolderNotesService::createLeetCodeNote(LeetCodeNote note, std::stop_token stop) {
    throwIfStopped(stop);
    // The user may have moved the documents since the last save.
    const QString folder = noteFolder(m_documentsFolder());
    if (folder.isEmpty()) {
        throw NotesServiceError(NotesServiceError::Case::creationFailed);
    }
    auto call = [files = m_files, pool = m_pool, folder,
                 note = std::move(note)](std::stop_token callStop) {
        auto job = [files, folder, note, callStop = std::move(callStop)](const std::stop_token&) {
            save(*files, folder, note, callStop);
        };
        // Waited for to its real end, so that the next save begins after it.
        return runOnPool(*pool, std::move(job), std::stop_token());
    };
    std::stop_source either;
    const auto timer = m_clock->after(patience, [&either] { either.request_stop(); });
    const auto forward = [&either] { either.request_stop(); };
    const std::stop_callback<decltype(forward)> onStop(stop, forward);
    try {
        co_await m_calls.run(std::move(call), either.get_token());
    } catch (const Cancelled&) {
        throwIfStopped(stop);
        LumivaneLog::lifecycle.error("A note was not written in time");
        throw NotesServiceError(NotesServiceError::Case::creationFailed);
    }
}

} // namespace lumivane
