#include "server/PostgresServer.h"

#include "server/ProgramStart.h"
#include "support/WaitForCondition.h"

#include <fcntl.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace lumivane::service::test {

namespace fs = std::filesystem;
using lumivane::test::waitForCondition;

namespace {

using User = ProgramUser;

constexpr const char* folderName = "lumivane-pg-";
constexpr const char* lockName = "lock";

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

pid_t startAs(const std::vector<std::string>& words, const std::optional<User>& user,
              const fs::path& log) {
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    ProgramStart start{.words = words, .output = output, .errors = output};
    // Its quick end takes its own children along.
    start.endSignal = SIGQUIT;
    start.user = user;
    const pid_t process = startProgram(start);
    ::close(output);
    return process;
}

void runAs(const std::vector<std::string>& words, const std::optional<User>& user,
           const fs::path& log) {
    int status = -1;
    const pid_t process = startAs(words, user, log);
    if (process < 0 || ::waitpid(process, &status, 0) != process || status != 0) {
        throw std::runtime_error("failed: " + words.front());
    }
}

// The path of a socket in it must not be longer than the system takes.
fs::path placeOfFolders() {
    const fs::path place = fs::temp_directory_path();
    constexpr std::size_t longest = 70;
    return place.string().size() <= longest ? place : fs::path("/tmp");
}

int openLock(const fs::path& path, int flags) {
    return ::open(path.c_str(), O_RDWR | O_CLOEXEC | flags, 0600);
}

// Folders of processes that were killed. Whoever uses one holds its lock.
void removeForgottenFolders() {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(placeOfFolders(), ignored)) {
        if (!entry.path().filename().string().starts_with(folderName)) {
            continue;
        }
        const int lock = openLock(entry.path() / lockName, 0);
        if (lock < 0) {
            continue;
        }
        if (::flock(lock, LOCK_EX | LOCK_NB) == 0) {
            fs::remove_all(entry.path(), ignored);
        }
        ::close(lock);
    }
}

void copyFolder(const fs::path& from, const fs::path& to) {
    runAs({"/bin/cp", "-a", "--reflink=auto", from.string(), to.string()}, std::nullopt,
          "/dev/null");
}

// Initialising takes seconds and copying the outcome does not, so the first process to come here
// leaves a copy for all others.
fs::path emptyCluster(const std::optional<User>& user) {
    fs::path cluster = LUMIVANE_POSTGRES_TEMPLATE;
    const int lock =
        ::open((cluster.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock < 0 || ::flock(lock, LOCK_EX) != 0) {
        throw std::runtime_error("no lock for the database template");
    }
    if (!fs::exists(cluster)) {
        const PostgresFolder folder;
        const fs::path data = folder.path() / "data";
        const fs::path unfinished = cluster.string() + ".unfinished";
        runAs({LUMIVANE_POSTGRES_PROGRAMS "/initdb", "--pgdata=" + data.string(),
               "--username=lumivane", "--auth=trust", "--encoding=UTF8", "--no-locale", "--no-sync",
               "--wal-segsize=1"},
              user, folder.path() / "log");
        fs::remove_all(unfinished);
        copyFolder(data, unfinished);
        fs::rename(unfinished, cluster);
    }
    ::close(lock);
    return cluster;
}

std::string nameIn(const std::string& url) {
    const auto begin = url.find(":///") + 4;
    return url.substr(begin, url.find('?') - begin);
}

} // namespace

PostgresFolder::PostgresFolder() {
    removeForgottenFolders();
    const auto user = userInPlaceOfSuperuser();
    std::string name = (placeOfFolders() / (std::string(folderName) + "XXXXXX")).string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder for a database server");
    }
    m_path = name;
    // Under its name the lock is never seen before it is held.
    m_lock = openLock(m_path / "lock.new", O_CREAT);
    if (m_lock < 0 || ::flock(m_lock, LOCK_EX) != 0 ||
        ::rename((m_path / "lock.new").c_str(), (m_path / lockName).c_str()) != 0 ||
        (user && ::chown(name.c_str(), user->user, user->group) != 0)) {
        throw std::runtime_error("no folder for a database server");
    }
}

PostgresFolder::~PostgresFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
    ::close(m_lock);
}

PostgresServer& PostgresServer::shared() {
    static PostgresServer server;
    return server;
}

PostgresServer::PostgresServer() {
    copyFolder(emptyCluster(userInPlaceOfSuperuser()), m_folder.path() / "data");
    start();
}

PostgresServer::~PostgresServer() { stop(); }

void PostgresServer::start() {
    // Loss of power is not what these tests are about; a killed process loses nothing either way.
    const std::string folder = m_folder.path().string();
    m_process = startAs({LUMIVANE_POSTGRES_PROGRAMS "/postgres", "-D", folder + "/data", "-k",
                         folder, "-c", "listen_addresses=", "-c", "fsync=off", "-c",
                         "max_connections=120", "-c", "shared_buffers=16MB"},
                        userInPlaceOfSuperuser(), m_folder.path() / "log");
    const std::string database = url("postgres");
    if (!waitForCondition([&] { return PQping(database.c_str()) == PQPING_OK; })) {
        stop();
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
    return "postgresql:///" + database + "?user=lumivane&host=" + m_folder.path().string();
}

std::string PostgresServer::makeDatabase() {
    const std::string name = "test" + std::to_string(++m_databases);
    soci::session sql(soci::postgresql, url("postgres"));
    sql << "CREATE DATABASE " << name;
    return url(name);
}

void PostgresServer::dropDatabase(const std::string& url) {
    soci::session sql(soci::postgresql, this->url("postgres"));
    sql << "DROP DATABASE " << nameIn(url) << " WITH (FORCE)";
}

std::string PostgresServer::lendDatabase() {
    if (m_free.empty()) {
        return makeDatabase();
    }
    std::string url = std::move(m_free.back());
    m_free.pop_back();
    return url;
}

void PostgresServer::takeBack(const std::string& url) noexcept {
    try {
        soci::session sql(soci::postgresql, url);
        sql << "SELECT pg_terminate_backend(pid) FROM pg_stat_activity "
               "WHERE datname = current_database() AND pid <> pg_backend_pid()";
        PQsetNoticeReceiver(
            static_cast<soci::postgresql_session_backend*>(sql.get_backend())->conn_,
            [](void*, const PGresult*) {}, nullptr);
        sql << "DROP SCHEMA public CASCADE";
        sql << "CREATE SCHEMA public";
        m_free.push_back(url);
    } catch (const std::exception&) {
        // Another one will be made for the next.
        return;
    }
}

} // namespace lumivane::service::test
