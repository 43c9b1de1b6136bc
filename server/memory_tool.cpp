// Makes the practice memory: reads all exercises of a folder, runs every approach's tests, and
// writes the file that the service reads. Ends with 1, and writes nothing, when anything fails.

#include "server/memory_build/ApproachTests.h"
#include "server/memory_build/MemoryWriter.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <set>

namespace {

using namespace lumivane::service;
namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file) {
        throw std::runtime_error(path.string() + " cannot be read");
    }
    return text;
}

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".md") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Runs all tests of all exercises; says what fails, and what the system kept from the sandbox.
class Checker {
public:
    explicit Checker(PythonRuntime runtime)
        : m_runtime(std::move(runtime)) {}

    std::optional<Exercise> read(const fs::path& file) {
        try {
            Exercise exercise = readExercise(contentOf(file));
            check(exercise, file);
            return exercise;
        } catch (const ExerciseError& error) {
            fail(file, error.what());
        }
        return std::nullopt;
    }

    bool hasFailed() const { return m_hasFailed; }

    void tellWhatWasMissing() const {
        for (const std::string& what : m_missing) {
            std::cerr << "practice memory: approaches ran " << what << "\n";
        }
    }

private:
    void check(const Exercise& exercise, const fs::path& file) {
        for (const Approach& approach : exercise.approaches) {
            const ApproachReport report = runTests(exercise, approach, m_runtime);
            noteWhatIsMissing(report.run);
            if (!report.failure.empty()) {
                fail(file, "\"" + approach.name + "\": " + report.failure);
            }
        }
    }

    void noteWhatIsMissing(const SandboxResult& run) {
        if (!run.hasNoNetwork) {
            m_missing.insert("without a network namespace of their own, which this system refuses");
        }
        if (!run.isUnprivileged) {
            m_missing.insert("as root, since the interpreter lies where no other user gets");
        }
        if (!run.changesNoFiles) {
            m_missing.insert("without a read-only view of the files, which this system refuses");
        }
        if (!run.seesNoFiles) {
            m_missing.insert("with all files to read that their user may read, since this kernel "
                             "has no Landlock");
        }
    }

    void fail(const fs::path& file, const std::string& what) {
        m_hasFailed = true;
        std::cerr << file.string() << ": " << what << "\n";
    }

    PythonRuntime m_runtime;
    bool m_hasFailed = false;
    std::set<std::string> m_missing;
};

int build(const fs::path& exercises, const fs::path& harness, const fs::path& python,
          const fs::path& output) {
    Checker checker({python, contentOf(harness), {}});
    std::vector<Exercise> read;
    for (const fs::path& file : filesOf(exercises)) {
        if (auto exercise = checker.read(file)) {
            read.push_back(*std::move(exercise));
        }
    }
    checker.tellWhatWasMissing();
    if (checker.hasFailed() || read.empty()) {
        return EXIT_FAILURE;
    }
    writeMemory(read, output);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    constexpr int exitUsage = 2;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() != 4) {
        std::cerr << "usage: lumivane-practice-memory EXERCISES HARNESS PYTHON OUTPUT\n";
        return exitUsage;
    }
    try {
        return build(arguments[0], arguments[1], arguments[2], arguments[3]);
    } catch (const std::exception& error) {
        std::cerr << "practice memory: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
