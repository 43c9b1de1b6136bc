#include "server/TemporaryFolder.h"
#include "server/TestClient.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
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

// Takes connections and never says a word.
class SilentServer {
public:
    SilentServer()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof m_address;
        auto* address = reinterpret_cast<sockaddr*>(&m_address);
        EXPECT_EQ(::bind(m_socket, address, size), 0);
        EXPECT_EQ(::listen(m_socket, 8), 0);
        EXPECT_EQ(::getsockname(m_socket, address, &size), 0);
    }

    ~SilentServer() { ::close(m_socket); }

    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    int port() const { return ::ntohs(m_address.sin_port); }

private:
    int m_socket;
    sockaddr_in m_address{};
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

    // What the command says and ends with.
    static ScriptResult output(const std::string& command) {
        ScriptResult result;
        FILE* pipe = ::popen(command.c_str(), "r");
        std::array<char, 1024> bytes{};
        while (std::fgets(bytes.data(), bytes.size(), pipe) != nullptr) {
            result.output += bytes.data();
        }
        const int status = ::pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    // Stands for a container engine that knows one word; it says what it is asked for.
    void addEngine(const std::string& name, const std::string& word) const {
        const auto program = folder.path() / "bin" / name;
        std::filesystem::create_directories(program.parent_path());
        std::ofstream(program) << "#!/bin/sh\ntest \"$2\" != version || set -- \"$1\"\n"
                                  "test \"$1\" = version && set -- --project-name\n"
                                  "test \"$1\" = "
                               << word << " || exit 125\necho \"asked: " << name << " $*\"\n";
        std::filesystem::permissions(program, std::filesystem::perms(0755));
    }

    std::string withEngines() const {
        return "PATH='" + (folder.path() / "bin").string() + ":'\"$PATH\" ";
    }

    // The name may be followed by switches; `variables` stand before the command and win.
    std::string command(const std::string& name, const std::string& variables = "") const {
        const auto build =
            std::filesystem::path(LUMIVANE_SERVICE_EXECUTABLE).parent_path().parent_path().string();
        const std::string path = std::string("'") + LUMIVANE_SCRIPTS_FOLDER + "'/" + name;
        return "export HOME='" + folder.path().string() + "' XDG_RUNTIME_DIR='" + run.string() +
               "' XDG_DATA_HOME= XDG_CONFIG_HOME= LUMIVANE_SERVICE_PORT=0 "
               "LUMIVANE_START_PATIENCE=60 LUMIVANE_BUILD_DIR='" +
               build + "'; " + variables + path + " 2>&1";
    }

    ScriptResult script(const std::string& name, const std::string& variables = "") const {
        return output(command(name, variables));
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

TEST_F(LocalScriptsTest, AServiceThatCannotGetToItsDatabaseIsGivenUp) {
    const SilentServer database;
    const auto failed = script(
        "local-up", "LUMIVANE_START_PATIENCE=1 LUMIVANE_SERVICE_DATABASE_URL=postgresql://user:"
                    "password@127.0.0.1:" +
                        std::to_string(database.port()) + "/service ");
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.output.find("local-up: the service did not answer within 1 seconds"),
              std::string::npos)
        << failed.output;
    EXPECT_FALSE(std::filesystem::exists(run / "lumivane" / "service.pid"));
    EXPECT_FALSE(std::filesystem::exists(run / "lumivane" / "service.start"));
    EXPECT_EQ(script("local-down").output, "The service is not running.\n");
}

TEST_F(LocalScriptsTest, AddressesOfBothKindsAreUnderstood) {
    const auto placeOf = [&](const std::string& url) {
        return output("bash -c '. \"" LUMIVANE_SCRIPTS_FOLDER "/local-service.bash\"; place_of \"" +
                      url + "\"' 2>&1")
            .output;
    };
    EXPECT_EQ(placeOf("http://127.0.0.1:8787"), "127.0.0.1 8787\n");
    EXPECT_EQ(placeOf("http://[::1]:8787"), "::1 8787\n");
}

TEST_F(LocalScriptsTest, ContainersAreStartedOnlyWhenAskedFor) {
    addEngine("docker", "compose");
    EXPECT_EQ(script("local-up", withEngines()).output.find("asked"), std::string::npos);
    EXPECT_EQ(script("local-down", withEngines()).output, "The service has stopped.\n");
    const auto down = script("local-down --container", withEngines());
    EXPECT_EQ(down.status, 0) << down.output;
    EXPECT_NE(down.output.find("asked: docker compose"), std::string::npos);
    EXPECT_NE(down.output.find("packaging/compose.yaml down\n"), std::string::npos);
    const auto byVariable = script("local-down", withEngines() + "LUMIVANE_CONTAINER=1 ");
    EXPECT_NE(byVariable.output.find("packaging/compose.yaml down\n"), std::string::npos);
    const auto password = folder.path() / ".local/share/lumivane-service/database-password";
    EXPECT_EQ(std::filesystem::file_size(password), 48U);
    EXPECT_EQ(std::filesystem::status(password).permissions(), std::filesystem::perms(0600));
}

TEST_F(LocalScriptsTest, TheFirstCommandThatComposesIsTaken) {
    // Engines may be there without the part of them that composes.
    addEngine("docker", "run");
    addEngine("podman", "run");
    addEngine("podman-compose", "--project-name");
    const auto with = [&](const std::string& command) {
        const auto down = script("local-down --container", withEngines());
        EXPECT_EQ(down.status, 0) << down.output;
        EXPECT_NE(down.output.find("asked: " + command + " --project-name lumivane --file "),
                  std::string::npos)
            << down.output;
    };
    with("podman-compose");
    addEngine("podman", "compose");
    with("podman compose");
    addEngine("docker", "compose");
    with("docker compose");
}

TEST_F(LocalScriptsTest, WithoutAnythingThatComposesNothingIsStarted) {
    addEngine("docker", "run");
    addEngine("podman", "run");
    addEngine("podman-compose", "run");
    const auto up = script("local-up --container", withEngines());
    EXPECT_EQ(up.status, 1);
    EXPECT_NE(up.output.find("local-up: none of 'docker compose', 'podman compose' and "
                             "'podman-compose' is there"),
              std::string::npos)
        << up.output;
    EXPECT_EQ(up.output.find("asked"), std::string::npos);
}

TEST_F(LocalScriptsTest, ContainersThatDoNotAnswerAreSaid) {
    addEngine("docker", "compose");
    const int nobody = SilentServer().port();
    const auto up = script("local-up --container",
                           withEngines() + "LUMIVANE_START_PATIENCE=1 LUMIVANE_SERVICE_PORT=" +
                               std::to_string(nobody) + " ");
    EXPECT_EQ(up.status, 1);
    EXPECT_NE(up.output.find("compose.yaml up --build --detach\n"), std::string::npos) << up.output;
    EXPECT_NE(up.output.find("local-up: the service did not answer on http://127.0.0.1:"),
              std::string::npos)
        << up.output;
}

TEST_F(LocalScriptsTest, OtherSwitchesAreRefused) {
    EXPECT_EQ(script("local-up --containers").status, 2);
    EXPECT_EQ(script("local-down --all").status, 2);
}

} // namespace lumivane::service
