#pragma once

#include "platform/linux/TesseractEngine.h"

#include <QString>
#include <QStringList>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

namespace lumivane {

/// Threads with one recogniser each, kept warm from their first use on. All operations may be
/// called from any thread.
class RecognitionWorkers {
public:
    /// Gives the worker's recogniser, loading it where that has not worked so far. Throws
    /// TextRecogniserError.
    using EngineSource = std::function<TesseractEngine&()>;
    using Task = std::function<void(const EngineSource&)>;

    /// Starts nothing yet.
    RecognitionWorkers(QString dataFolder, QStringList languages, int count);

    /// Ends the threads once each has finished the task in its hands; queued tasks are dropped.
    ~RecognitionWorkers();

    int count() const { return m_count; }

    /// Queues a task, which must not throw, behind all others.
    void submit(Task task);

    /// Blocks until every worker has loaded its recogniser or failed to.
    void warm();

private:
    void start();
    void work(const std::stop_token& stop);
    std::unique_ptr<TesseractEngine> load() const;

    const QString m_dataFolder;
    const QStringList m_languages;
    const int m_count;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<Task> m_tasks;
    int m_readyCount = 0;
    std::vector<std::jthread> m_threads; ///< last, so that it ends first
};

} // namespace lumivane
