#include "server/memory_build/SandboxedChild.h"

#include "server/TemporaryFolder.h"
#include "server/work/MonotonicTime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace lumivane::service {

using namespace std::chrono_literals;
using End = SandboxResult::End;

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
    EXPECT_EQ(said("import os\nprint(os.listdir('/proc/self/fd')[:3], "
                   "len(os.listdir('/proc/self/fd')))\n"),
              "['0', '1', '2'] 4\n");
    EXPECT_EQ(said("import os\nprint(os.getcwd(), os.getsid(0) == os.getpid())\n"), "/ True\n");
}

TEST_F(SandboxedChildTest, WritesNoFile) {
    const lumivane::service::test::TemporaryFolder folder;
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    const std::string path = (folder.path() / "file").string();
    EXPECT_EQ(raised("file = open('" + path + "', 'w', buffering=1); file.write('a\\n')"),
              "OSError");
    std::error_code ignored;
    const auto written = std::filesystem::file_size(path, ignored);
    EXPECT_TRUE(ignored || written == 0);
}

TEST_F(SandboxedChildTest, StartsNoProcess) {
    EXPECT_EQ(raised("os._exit(0) if os.fork() == 0 else os.wait()"), "BlockingIOError");
}

TEST_F(SandboxedChildTest, ReachesNobody) {
    const auto result = run("import socket\ntry:\n"
                            "    socket.create_connection(('127.0.0.1', 1), timeout=5)\n"
                            "except OSError as error:\n    print(error.errno)\n");
    ASSERT_EQ(result.end, End::exited);
    // Where the system refuses a network of its own, the result says so.
    EXPECT_EQ(result.output, result.hasNoNetwork ? "101\n" : "111\n");
}

TEST_F(SandboxedChildTest, IsNotRootWhereItCanBeAnybodyElse) {
    const auto result = run("import os\nprint(os.geteuid() == 0)\n");
    EXPECT_EQ(result.output, result.isUnprivileged ? "False\n" : "True\n");
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
