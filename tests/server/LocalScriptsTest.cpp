#include "server/TemporaryFolder.h"
#include "server/TestClient.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace lumivane::service {

using test::TemporaryFolder;
using test::TestClient;

namespace {

struct ScriptResult {
    int status = -1;
    std::string output;
};

} // namespace

// Ends the service of a test that was killed, for that service has a session of its own.
class Guard {
public:
    explicit Guard(const std::string& command) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        const pid_t between = ::fork();
        if (between == 0) {
            ::close(ends[1]);
            // Out of reach of whoever kills the test with all its children.
            ::setsid();
            if (::fork() == 0) {
                stand(ends[0], command);
            }
            ::_exit(0);
        }
        ::waitpid(between, nullptr, 0);
        ::close(ends[0]);
        m_end = ends[1];
    }

    // The test has seen to it itself.
    ~Guard() {
        EXPECT_EQ(::write(m_end, "x", 1), 1);
        ::close(m_end);
    }

    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    [[noreturn]] static void stand(int end, const std::string& command) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(nowhere, descriptor);
        }
        char byte = 0;
        if (::read(end, &byte, 1) == 0) {
            ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        }
        ::_exit(0);
    }

    int m_end = -1;
};

class LocalScriptsTest : public testing::Test {
protected:
    LocalScriptsTest() {
        run = folder.path() / "run";
        std::filesystem::create_directory(run);
        std::filesystem::permissions(run, std::filesystem::perms(0700));
        guard.emplace(command("local-down", "") + "; rm -rf '" + folder.path().string() + "'");
    }

    ~LocalScriptsTest() override { script("local-down"); }

    // The name may be followed by switches; `variables` stand before the command.
    std::string command(const std::string& name, const std::string& variables) const {
        const auto build =
            std::filesystem::path(LUMIVANE_SERVICE_EXECUTABLE).parent_path().parent_path().string();
        const std::string path = std::string("'") + LUMIVANE_SCRIPTS_FOLDER + "'/" + name;
        return variables + "HOME='" + folder.path().string() + "' XDG_RUNTIME_DIR='" +
               run.string() +
               "' XDG_DATA_HOME= XDG_CONFIG_HOME= LUMIVANE_SERVICE_PORT=0 "
               "LUMIVANE_START_PATIENCE=60 LUMIVANE_BUILD_DIR='" +
               build + "' " + path + " 2>&1";
    }

    ScriptResult script(const std::string& name, const std::string& variables = "") const {
        ScriptResult result;
        FILE* pipe = ::popen(command(name, variables).c_str(), "r");
        std::array<char, 1024> bytes{};
        while (std::fgets(bytes.data(), bytes.size(), pipe) != nullptr) {
            result.output += bytes.data();
        }
        const int status = ::pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    static int portIn(const std::string& output) {
        const auto at = output.find("http://127.0.0.1:");
        return at == std::string::npos ? 0 : std::atoi(output.c_str() + at + 17);
    }

    TemporaryFolder folder;
    std::filesystem::path run;
    std::optional<Guard> guard;
};

TEST_F(LocalScriptsTest, StartsOnceAndStopsWhatItStarted) {
    const auto started = script("local-up");
    ASSERT_EQ(started.status, 0) << started.output;
    const int port = portIn(started.output);
    TestClient client(static_cast<std::uint16_t>(port));
    EXPECT_EQ(client.ask("GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n").status, 200);
    const auto again = script("local-up");
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(portIn(again.output), port);
    EXPECT_NE(again.output.find("already running"), std::string::npos);
    const auto stopped = script("local-down");
    EXPECT_EQ(stopped.status, 0);
    EXPECT_EQ(stopped.output, "The service has stopped.\n");
    EXPECT_THROW(TestClient(static_cast<std::uint16_t>(port)), std::runtime_error);
    EXPECT_EQ(script("local-down").output, "The service is not running.\n");
}

TEST_F(LocalScriptsTest, LeavesAProcessThatOnlyHasTheNumberAlone) {
    std::filesystem::create_directory(run / "lumivane");
    std::filesystem::permissions(run / "lumivane", std::filesystem::perms(0700));
    // This very process, as if the number had been given anew since.
    std::ofstream(run / "lumivane" / "service.pid")
        << ::getpid() << " 1 " << LUMIVANE_SERVICE_EXECUTABLE << "\n";
    EXPECT_EQ(script("local-down").output, "The service is not running.\n");
}

TEST_F(LocalScriptsTest, AFolderThatOthersCanUseIsRefused) {
    std::filesystem::create_directory(run / "lumivane");
    std::filesystem::permissions(run / "lumivane", std::filesystem::perms(0755));
    const auto refused = script("local-up");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.output.find("mode 0700"), std::string::npos);
}

TEST_F(LocalScriptsTest, SaysWhyTheServiceDoesNotStart) {
    std::filesystem::create_directories(folder.path() / ".config/lumivane-service");
    std::ofstream(folder.path() / ".config/lumivane-service/config.json") << R"({"prot":1})";
    const auto failed = script("local-up");
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.output.find("unknown configuration key \"prot\""), std::string::npos);
}

TEST_F(LocalScriptsTest, ContainersAreStartedOnlyWhenAskedFor) {
    const auto engine = folder.path() / "bin";
    std::filesystem::create_directory(engine);
    std::ofstream(engine / "docker") << "#!/bin/sh\necho \"asked: $*\"\n"
                                        "test -n \"$LUMIVANE_DATABASE_PASSWORD\"\n";
    std::filesystem::permissions(engine / "docker", std::filesystem::perms(0755));
    const std::string withEngine = "PATH='" + engine.string() + ":'\"$PATH\" ";
    EXPECT_EQ(script("local-up", withEngine).output.find("asked"), std::string::npos);
    EXPECT_EQ(script("local-down", withEngine).output, "The service has stopped.\n");
    const auto down = script("local-down --container", withEngine);
    EXPECT_EQ(down.status, 0) << down.output;
    EXPECT_NE(down.output.find("packaging/compose.yaml down\n"), std::string::npos);
    const auto byVariable = script("local-down", withEngine + "LUMIVANE_CONTAINER=1 ");
    EXPECT_NE(byVariable.output.find("packaging/compose.yaml down\n"), std::string::npos);
    const auto password = folder.path() / ".local/share/lumivane-service/database-password";
    EXPECT_EQ(std::filesystem::file_size(password), 48U);
    EXPECT_EQ(std::filesystem::status(password).permissions(), std::filesystem::perms(0600));
}

TEST_F(LocalScriptsTest, OtherSwitchesAreRefused) {
    EXPECT_EQ(script("local-up --containers").status, 2);
    EXPECT_EQ(script("local-down --all").status, 2);
}

} // namespace lumivane::service
