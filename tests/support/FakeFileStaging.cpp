#include "support/FakeFileStaging.h"

#include "async/Cancelled.h"

#include <algorithm>

namespace lumivane::test {

struct FakeFileStaging::State {
    void waitWhile(const bool& isHeld) {
        std::unique_lock lock(mutex);
        ++holdingCount;
        released.wait(lock, [&isHeld] { return !isHeld; });
        --holdingCount;
    }

    static void failIf(const std::optional<std::errc>& error) {
        if (error) {
            throw std::system_error(std::make_error_code(*error));
        }
    }

    mutable std::mutex mutex;
    std::condition_variable released;
    std::map<QString, Folder> folders;
    int stagedCount = 0;
    int stageCount = 0;
    int holdingCount = 0;
    bool areNamesTaken = false;
    bool isStagingHeld = false;
    bool isPublishingHeld = false;
    std::optional<std::errc> stagingFailure;
    std::optional<std::errc> publishingFailure;
};

class FakeFileStaging::Staged final : public StagedFiles {
public:
    Staged(std::shared_ptr<State> state, QString folder, std::vector<QByteArray> contents)
        : m_state(std::move(state))
        , m_folder(std::move(folder))
        , m_contents(std::move(contents)) {
        const std::lock_guard lock(m_state->mutex);
        m_state->folders[m_folder];
        m_state->stagedCount += static_cast<int>(m_contents.size());
    }

    ~Staged() override {
        const std::lock_guard lock(m_state->mutex);
        m_state->stagedCount -= static_cast<int>(m_contents.size());
    }

    Staged(const Staged&) = delete;
    Staged& operator=(const Staged&) = delete;

    bool publish(const std::vector<QString>& names) override {
        m_state->waitWhile(m_state->isPublishingHeld);
        const std::lock_guard lock(m_state->mutex);
        State::failIf(m_state->publishingFailure);
        const auto folder = m_state->folders.find(m_folder);
        if (folder == m_state->folders.end()) {
            State::failIf(std::errc::no_such_file_or_directory);
        }
        const bool isAnyTaken = std::any_of(names.begin(), names.end(), [&](const QString& name) {
            return folder->second.contains(name);
        });
        if (isAnyTaken || m_state->areNamesTaken) {
            return false;
        }
        for (std::size_t index = 0; index < names.size(); ++index) {
            folder->second[names[index]] = m_contents.at(index);
        }
        m_state->stagedCount -= static_cast<int>(m_contents.size());
        m_contents.clear();
        return true;
    }

private:
    std::shared_ptr<State> m_state;
    QString m_folder;
    std::vector<QByteArray> m_contents;
};

FakeFileStaging::FakeFileStaging()
    : m_state(std::make_shared<State>()) {}

std::unique_ptr<StagedFiles> FakeFileStaging::stage(const QString& folder,
                                                    const std::vector<QByteArray>& contents,
                                                    const std::stop_token& stop) {
    {
        const std::lock_guard lock(m_state->mutex);
        ++m_state->stageCount;
    }
    m_state->waitWhile(m_state->isStagingHeld);
    throwIfStopped(stop);
    {
        const std::lock_guard lock(m_state->mutex);
        State::failIf(m_state->stagingFailure);
    }
    return std::make_unique<Staged>(m_state, folder, contents);
}

FakeFileStaging::Folder FakeFileStaging::folder(const QString& path) const {
    const std::lock_guard lock(m_state->mutex);
    const auto found = m_state->folders.find(path);
    return found == m_state->folders.end() ? Folder() : found->second;
}

std::size_t FakeFileStaging::folderCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->folders.size();
}

int FakeFileStaging::stagedCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->stagedCount;
}

int FakeFileStaging::stageCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->stageCount;
}

void FakeFileStaging::putFile(const QString& folder, const QString& name) {
    const std::lock_guard lock(m_state->mutex);
    m_state->folders[folder][name] = "somebody else's";
}

void FakeFileStaging::removeFolder(const QString& path) {
    const std::lock_guard lock(m_state->mutex);
    m_state->folders.erase(path);
}

void FakeFileStaging::failStaging(std::optional<std::errc> error) {
    const std::lock_guard lock(m_state->mutex);
    m_state->stagingFailure = error;
}

void FakeFileStaging::failPublishing(std::optional<std::errc> error) {
    const std::lock_guard lock(m_state->mutex);
    m_state->publishingFailure = error;
}

void FakeFileStaging::takeAllNames() {
    const std::lock_guard lock(m_state->mutex);
    m_state->areNamesTaken = true;
}

void FakeFileStaging::holdStaging() {
    const std::lock_guard lock(m_state->mutex);
    m_state->isStagingHeld = true;
}

void FakeFileStaging::holdPublishing() {
    const std::lock_guard lock(m_state->mutex);
    m_state->isPublishingHeld = true;
}

void FakeFileStaging::release() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->isStagingHeld = false;
        m_state->isPublishingHeld = false;
    }
    m_state->released.notify_all();
}

bool FakeFileStaging::isHolding() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->holdingCount > 0 && (m_state->isStagingHeld || m_state->isPublishingHeld);
}

} // namespace lumivane::test
