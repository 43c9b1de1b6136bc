#include "server/memory_build/SandboxedChild.h"

#include "server/TemporaryFolder.h"
#include "server/work/MonotonicTime.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace lumivane::service {

using namespace std::chrono_literals;
using End = SandboxResult::End;

namespace {

// What this system grants is tried out here, so that no report is only compared with itself. Root
// may be refused what anybody gets in a user namespace, and the other way round.
template <typename Trial>
bool isGranted(Trial trial) {
    for (const int around : {0, CLONE_NEWUSER}) {
        const pid_t process = ::fork();
        if (process == 0) {
            ::_exit(trial(around) ? 0 : 1);
        }
        int status = 0;
        ::waitpid(process, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            return true;
        }
    }
    return false;
}

bool canLeaveTheNetwork() {
    return isGranted([](int around) { return ::unshare(around | CLONE_NEWNET) == 0; });
}

bool canMakeFilesReadOnly() {
    return isGranted([](int around) {
        mount_attr readOnly{};
        readOnly.attr_set = MOUNT_ATTR_RDONLY;
        readOnly.propagation = MS_PRIVATE;
        return ::unshare(around | CLONE_NEWNS) == 0 &&
               ::mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &readOnly, sizeof readOnly) == 0;
    });
}

bool canHideFiles() {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1;
}

// A folder with one file, both of the very user that the sandboxed program runs as, and open to
// all: whatever is refused there is refused by the sandbox.
class OwnFiles {
public:
    OwnFiles()
        : path((m_folder.path() / "file").string()) {
        std::ofstream(path) << "kept\n";
        for (const auto& place : {m_folder.path(), std::filesystem::path(path)}) {
            std::filesystem::permissions(place, std::filesystem::perms::all);
            constexpr uid_t nobody = 65534;
            if (::geteuid() == 0) {
                EXPECT_EQ(::chown(place.c_str(), nobody, nobody), 0);
            }
        }
    }

    std::string folder() const { return m_folder.path().string(); }

    bool areUntouched() const {
        std::ifstream file(path);
        const std::string content((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
        const auto files = std::filesystem::directory_iterator(m_folder.path());
        return content == "kept\n" && std::distance(begin(files), end(files)) == 1 &&
               std::filesystem::status(path).permissions() == std::filesystem::perms::all;
    }

private:
    lumivane::service::test::TemporaryFolder m_folder;

public:
    const std::string path;
};

} // namespace

class SandboxedChildTest : public testing::Test {
protected:
    SandboxResult run(const std::string& program) const {
        return runSandboxed(LUMIVANE_PYTHON, {"-I", "-S", "-B", "-"}, program, limits);
    }

    std::string said(const std::string& program) const {
        const auto result = run(program);
        EXPECT_EQ(result.end, End::exited);
        return result.output;
    }

    /// What an expression raises, or "nothing".
    std::string raised(const std::string& statement) const {
        return said("import os, socket\ntry:\n    " + statement +
                    "\n    print('nothing', end='')\nexcept BaseException as error:\n"
                    "    print(type(error).__name__, end='')\n");
    }

    SandboxLimits limits;
};

TEST_F(SandboxedChildTest, GivesOutputAndStatus) {
    const auto result = run("import sys\nprint('words')\nsys.exit(3)\n");
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "words\n");
}

TEST_F(SandboxedChildTest, HasAnEmptyEnvironmentAndNoOtherFiles) {
    ::setenv("LUMIVANE_TEST_SECRET", "canary", 1);
    EXPECT_EQ(said("import os\nprint([name for name in os.environ if name != 'LC_CTYPE'])\n"),
              "[]\n");
    ::unsetenv("LUMIVANE_TEST_SECRET");
    EXPECT_EQ(said("import os\nfor number in range(64):\n    try:\n        os.fstat(number)\n"
                   "        print(number, end=' ')\n    except OSError:\n        pass\n"),
              "0 1 2 ");
    EXPECT_EQ(said("import os\nprint(os.getcwd(), os.getsid(0) == os.getpid())\n"), "/ True\n");
}

TEST_F(SandboxedChildTest, ReportsWhatTheSystemGrants) {
    const auto result = run("");
    EXPECT_EQ(result.hasNoNetwork, canLeaveTheNetwork());
    EXPECT_EQ(result.changesNoFiles, canMakeFilesReadOnly());
    EXPECT_EQ(result.seesNoFiles, canHideFiles());
}

TEST_F(SandboxedChildTest, WritesNotAByte) {
    const OwnFiles files;
    EXPECT_NE(raised("file = open('" + files.path + "', 'a', buffering=1); file.write('a\\n')"),
              "nothing");
    EXPECT_TRUE(files.areUntouched());
}

TEST_F(SandboxedChildTest, LeavesEveryFileAsAndWhereItIs) {
    const OwnFiles files;
    const std::string file = "'" + files.path + "'";
    const std::string other = "'" + files.folder() + "/other'";
    const auto expectRefused = [&](const std::string& deed) {
        EXPECT_NE(raised(deed), "nothing") << deed;
        EXPECT_TRUE(files.areUntouched()) << deed;
    };
    // Either keeps these.
    if (canMakeFilesReadOnly() || canHideFiles()) {
        expectRefused("open(" + file + ", 'w')");
        expectRefused("os.unlink(" + file + ")");
        expectRefused("os.rename(" + file + ", " + other + ")");
        expectRefused("os.symlink('a', " + other + ")");
        expectRefused("os.mkdir(" + other + ")");
        expectRefused("os.mkfifo(" + other + ")");
        expectRefused("os.open(" + other + ", os.O_CREAT | os.O_RDONLY)");
    }
    if (canMakeFilesReadOnly()) {
        expectRefused("os.truncate(" + file + ", 0)");
        expectRefused("os.link(" + file + ", " + other + ")");
        expectRefused("os.chmod(" + file + ", 0)");
        expectRefused("os.utime(" + file + ", (0, 0))");
    }
}

TEST_F(SandboxedChildTest, ReadsNothingButItsLibraries) {
    const OwnFiles files;
    for (const std::string& deed :
         {"open('" + files.path + "')", "os.listdir('" + files.folder() + "')",
          std::string("os.listdir('/proc')"), std::string("open('/etc/passwd')"),
          std::string("os.execv('/usr/bin/env', ['env'])")}) {
        if (canHideFiles()) {
            EXPECT_EQ(raised(deed), "PermissionError") << deed;
        }
    }
    EXPECT_EQ(said("import bisect, collections, heapq, math, random\nprint(math.isqrt(9))\n"),
              "3\n");
}

TEST_F(SandboxedChildTest, StartsNoProcess) {
    ASSERT_TRUE(run("").isUnprivileged); // the number of processes binds all but root
    EXPECT_EQ(raised("os._exit(0) if os.fork() == 0 else os.wait()"), "BlockingIOError");
}

TEST_F(SandboxedChildTest, ReachesNobody) {
    const auto result = run("import socket\ntry:\n"
                            "    socket.create_connection(('127.0.0.1', 1), timeout=5)\n"
                            "except OSError as error:\n    print(error.errno)\n");
    ASSERT_EQ(result.end, End::exited);
    EXPECT_EQ(result.output, canLeaveTheNetwork() ? "101\n" : "111\n");
}

TEST_F(SandboxedChildTest, IsNeverRootWithTheInterpreterOfTheSystem) {
    const auto result = run("import os\nprint(os.geteuid() == 0, os.getegid() == 0)\n");
    EXPECT_TRUE(result.isUnprivileged);
    EXPECT_EQ(result.output, "False False\n");
}

TEST_F(SandboxedChildTest, IsRootWhereOnlyRootGetsToTheProgram) {
    const lumivane::service::test::TemporaryFolder folder;
    std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all);
    const auto program = folder.path() / "true";
    std::filesystem::copy_file("/bin/true", program);
    const auto result = runSandboxed(program, {}, "", limits);
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.isUnprivileged, ::geteuid() != 0);
}

TEST_F(SandboxedChildTest, TooMuchComputingEndsIt) {
    limits.cpuSeconds = 1;
    const auto result = run("while True:\n    pass\n");
    EXPECT_EQ(result.end, End::killed);
    EXPECT_TRUE(result.status == SIGXCPU || result.status == SIGKILL) << result.status;
}

TEST_F(SandboxedChildTest, TooMuchMemoryIsRefused) {
    limits.addressBytes = 256ULL * 1024 * 1024;
    EXPECT_EQ(raised("bytearray(400 * 1024 * 1024)"), "MemoryError");
}

TEST_F(SandboxedChildTest, WaitingForeverEndsItFromOutside) {
    limits.wallTime = 300ms;
    const MonotonicTime started = monotonicNow();
    EXPECT_EQ(run("import time\ntime.sleep(3600)\n").end, End::timedOut);
    EXPECT_EQ(run("import os, time\nos.close(1)\ntime.sleep(3600)\n").end, End::timedOut);
    EXPECT_LT(monotonicNow() - started, 10s);
}

TEST_F(SandboxedChildTest, TooMuchOutputEndsIt) {
    limits.outputBytes = 1000;
    const auto result = run("import time\nprint('a' * 5000, flush=True)\ntime.sleep(3600)\n");
    EXPECT_EQ(result.end, End::saidTooMuch);
}

TEST_F(SandboxedChildTest, AProgramThatDoesNotListenDoesNoHarm) {
    const auto result = runSandboxed("/bin/true", {}, std::string(1024 * 1024, 'a'), limits);
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.status, 0);
}

TEST_F(SandboxedChildTest, LongInputArrivesWhole) {
    EXPECT_EQ(said("text = '" + std::string(500'000, 'a') + "'\nprint(len(text))\n"), "500000\n");
}

TEST_F(SandboxedChildTest, AMissingProgramIsSaid) {
    const auto result = runSandboxed("/none/at/all", {}, "", limits);
    EXPECT_EQ(result.end, End::neverStarted);
    EXPECT_EQ(result.status, ENOENT);
}

} // namespace lumivane::service
