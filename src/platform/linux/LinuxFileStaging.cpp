#include "platform/linux/LinuxFileStaging.h"

#include "async/Cancelled.h"
#include "platform/linux/PosixFile.h"

#include <QFile>

#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace lumivane {

namespace {

using namespace PosixFile;

class LinuxStagedFiles final : public StagedFiles {
public:
    explicit LinuxStagedFiles(const std::filesystem::path& folder)
        : m_folder(openFolder(folder)) {}

    ~LinuxStagedFiles() override {
        for (const std::string& name : m_hiddenNames) {
            ::unlinkat(m_folder.number(), name.c_str(), 0);
        }
    }

    LinuxStagedFiles(const LinuxStagedFiles&) = delete;
    LinuxStagedFiles& operator=(const LinuxStagedFiles&) = delete;

    void add(const QByteArray& content, const std::stop_token& stop) {
        m_hiddenNames.push_back(".lumivane-" + uniqueName() + ".tmp");
        writeNewFile(m_folder.number(), m_hiddenNames.back(), content, stop);
    }

    bool publish(const std::vector<QString>& names) override {
        std::vector<std::string> published;
        try {
            for (const QString& name : names) {
                const std::string wanted = QFile::encodeName(name).toStdString();
                if (!renameToNew(m_folder.number(), m_hiddenNames.at(published.size()), wanted)) {
                    takeBack(published);
                    return false;
                }
                published.push_back(wanted);
            }
            synchroniseFolder(m_folder.number());
        } catch (...) {
            takeBack(published);
            throw;
        }
        m_hiddenNames.clear();
        return true;
    }

private:
    void takeBack(const std::vector<std::string>& published) const {
        for (std::size_t index = 0; index < published.size(); ++index) {
            ::renameat(m_folder.number(), published[index].c_str(), m_folder.number(),
                       m_hiddenNames[index].c_str());
        }
    }

    FileDescriptor m_folder;
    std::vector<std::string> m_hiddenNames;
};

} // namespace

std::unique_ptr<StagedFiles> LinuxFileStaging::stage(const QString& folder,
                                                     const std::vector<QByteArray>& contents,
                                                     const std::stop_token& stop) {
    throwIfStopped(stop);
    const std::filesystem::path path(QFile::encodeName(folder).toStdString());
    makeFolders(path, S_IRWXU | S_IRWXG | S_IRWXO);
    auto files = std::make_unique<LinuxStagedFiles>(path);
    for (const QByteArray& content : contents) {
        files->add(content, stop);
    }
    return files;
}

} // namespace lumivane
