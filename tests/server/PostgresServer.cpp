#include "server/PostgresServer.h"

#include "support/WaitForCondition.h"

#include <fcntl.h>
#include <grp.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <vector>

namespace lumivane::service::test {

namespace fs = std::filesystem;
using lumivane::test::waitForCondition;

namespace {

struct User {
    uid_t user = 0;
    gid_t group = 0;
};

// The server refuses to run as the superuser.
std::optional<User> userInPlaceOfSuperuser() {
    if (::geteuid() != 0) {
        return std::nullopt;
    }
    const passwd* entry = ::getpwnam("postgres");
    if (entry == nullptr) {
        entry = ::getpwnam("nobody");
    }
    if (entry == nullptr) {
        throw std::runtime_error("no user to run a database server as");
    }
    return User{entry->pw_uid, entry->pw_gid};
}

[[noreturn]] void becomeProgram(const std::vector<std::string>& words,
                                const std::optional<User>& user, const fs::path& log) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    if (user &&
        (::setgroups(0, nullptr) != 0 || ::setgid(user->group) != 0 || ::setuid(user->user) != 0)) {
        ::_exit(126);
    }
    // Its quick end takes its own children along.
    ::prctl(PR_SET_PDEATHSIG, SIGQUIT);
    ::execv(arguments.front(), arguments.data());
    ::_exit(127);
}

pid_t startProgram(const std::vector<std::string>& words, const std::optional<User>& user,
                   const fs::path& log) {
    const pid_t process = ::fork();
    if (process == 0) {
        becomeProgram(words, user, log);
    }
    return process;
}

void runProgram(const std::vector<std::string>& words, const std::optional<User>& user,
                const fs::path& log) {
    int status = -1;
    const pid_t process = startProgram(words, user, log);
    if (process < 0 || ::waitpid(process, &status, 0) != process || status != 0) {
        throw std::runtime_error("failed: " + words.front());
    }
}

fs::path makeFolder(const std::optional<User>& user) {
    std::string name = (fs::temp_directory_path() / "lumivane-pg-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr ||
        (user && ::chown(name.c_str(), user->user, user->group) != 0)) {
        throw std::runtime_error("no folder for a database server");
    }
    return name;
}

void copyFolder(const fs::path& from, const fs::path& to) {
    runProgram({"/bin/cp", "-a", from.string(), to.string()}, std::nullopt, "/dev/null");
}

// Initialising takes seconds and copying the outcome does not, so the first process to come here
// leaves a copy for all others.
fs::path emptyCluster(const std::optional<User>& user) {
    const fs::path cluster = LUMIVANE_POSTGRES_TEMPLATE;
    const int lock =
        ::open((cluster.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock < 0 || ::flock(lock, LOCK_EX) != 0) {
        throw std::runtime_error("no lock for the database template");
    }
    if (!fs::exists(cluster)) {
        const fs::path folder = makeFolder(user);
        const fs::path unfinished = cluster.string() + ".unfinished";
        runProgram({LUMIVANE_POSTGRES_PROGRAMS "/initdb", "--pgdata=" + (folder / "data").string(),
                    "--username=lumivane", "--auth=trust", "--encoding=UTF8", "--no-locale",
                    "--no-sync"},
                   user, folder / "log");
        fs::remove_all(unfinished);
        copyFolder(folder / "data", unfinished);
        fs::rename(unfinished, cluster);
        fs::remove_all(folder);
    }
    ::close(lock);
    return cluster;
}

} // namespace

PostgresServer& PostgresServer::shared() {
    static PostgresServer server;
    return server;
}

PostgresServer::PostgresServer() {
    const auto user = userInPlaceOfSuperuser();
    const fs::path cluster = emptyCluster(user);
    m_folder = makeFolder(user);
    copyFolder(cluster, m_folder / "data");
    start();
}

PostgresServer::~PostgresServer() {
    stop();
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

void PostgresServer::start() {
    // Loss of power is not what these tests are about; a killed process loses nothing either way.
    m_process =
        startProgram({LUMIVANE_POSTGRES_PROGRAMS "/postgres", "-D", (m_folder / "data").string(),
                      "-k", m_folder.string(), "-c", "listen_addresses=", "-c", "fsync=off", "-c",
                      "max_connections=120", "-c", "shared_buffers=16MB"},
                     userInPlaceOfSuperuser(), m_folder / "log");
    const std::string database = url("postgres");
    if (!waitForCondition([&] { return PQping(database.c_str()) == PQPING_OK; })) {
        throw std::runtime_error("the database server does not answer");
    }
}

void PostgresServer::stop() {
    if (m_process > 0) {
        ::kill(m_process, SIGQUIT);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

std::string PostgresServer::url(const std::string& database) const {
    return "postgresql:///" + database + "?user=lumivane&host=" + m_folder.string();
}

std::string PostgresServer::makeDatabase() {
    const std::string name = "test" + std::to_string(++m_databases);
    soci::session sql(soci::postgresql, url("postgres"));
    sql << "CREATE DATABASE " << name;
    return url(name);
}

void PostgresServer::dropDatabase(const std::string& url) {
    const auto begin = url.find(":///") + 4;
    const std::string name = url.substr(begin, url.find('?') - begin);
    soci::session sql(soci::postgresql, this->url("postgres"));
    sql << "DROP DATABASE " << name << " WITH (FORCE)";
}

} // namespace lumivane::service::test
