#include "platform/linux/RecognitionWorkers.h"

#include <algorithm>
#include <utility>

namespace lumivane {

RecognitionWorkers::RecognitionWorkers(QString dataFolder, QStringList languages, int count)
    : m_dataFolder(std::move(dataFolder))
    , m_languages(std::move(languages))
    , m_count(std::max(1, count)) {}

RecognitionWorkers::~RecognitionWorkers() = default;

void RecognitionWorkers::submit(Task task) {
    {
        const std::lock_guard lock(m_mutex);
        start();
        m_tasks.push_back(std::move(task));
    }
    m_changed.notify_all();
}

void RecognitionWorkers::warm() {
    std::unique_lock lock(m_mutex);
    start();
    m_changed.wait(lock, [this] { return m_readyCount == m_count; });
}

void RecognitionWorkers::start() {
    while (static_cast<int>(m_threads.size()) < m_count) {
        m_threads.emplace_back([this](const std::stop_token& stop) { work(stop); });
    }
}

std::unique_ptr<TesseractEngine> RecognitionWorkers::load() const {
    return std::make_unique<TesseractEngine>(m_dataFolder, m_languages);
}

void RecognitionWorkers::work(const std::stop_token& stop) {
    std::unique_ptr<TesseractEngine> engine;
    const EngineSource source = [this, &engine]() -> TesseractEngine& {
        if (!engine) {
            engine = load();
        }
        return *engine;
    };
    try {
        source();
    } catch (const std::exception&) {
        // The first task tries again and tells its caller.
    }
    std::unique_lock lock(m_mutex);
    ++m_readyCount;
    m_changed.notify_all();
    while (m_changed.wait(lock, stop, [this] { return !m_tasks.empty(); })) {
        if (stop.stop_requested()) {
            return;
        }
        const Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task(source);
        lock.lock();
    }
}

} // namespace lumivane
