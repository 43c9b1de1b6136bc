#include "server/memory_build/ApproachTests.h"

#include "server/TemporaryFolder.h"
#include "server/memory/PracticeMemory.h"

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace lumivane::service {

using namespace std::chrono_literals;

class ApproachTestsTest : public testing::Test {
protected:
    static std::string harness() {
        std::ifstream file(LUMIVANE_PRACTICE_HARNESS);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    ApproachTestsTest() {
        exercise.signs.entry = "answer";
        exercise.tests = {boost::json::array{boost::json::array{1}, 1},
                          boost::json::array{boost::json::array{2}, 4}};
    }

    std::string failureOf(const std::string& body) const {
        Approach approach;
        approach.code = "class Solution:\n    def answer(self, value):\n        " + body + "\n";
        return runTests(exercise, approach, runtime).failure;
    }

    Exercise exercise;
    PythonRuntime runtime{LUMIVANE_PYTHON, harness(), {}};
};

TEST_F(ApproachTestsTest, PassingAndFailingTestsAreToldApart) {
    EXPECT_EQ(failureOf("return value * value"), "");
    EXPECT_EQ(failureOf("return value"), "it fails the tests [2]");
    EXPECT_EQ(failureOf("return 1 // 0"), "it fails the tests [1,2]");
    EXPECT_EQ(failureOf("return float(value * value)"), "it fails the tests [1,2]");
    EXPECT_EQ(failureOf("return value == 1"), "it fails the tests [1,2]");
}

TEST_F(ApproachTestsTest, CodeThatDoesNotRunIsNoPass) {
    EXPECT_EQ(failureOf("return ("), "it ended with status 1");
    EXPECT_EQ(failureOf("import os; os._exit(0)"), "it gave no report");
    EXPECT_EQ(failureOf("print('{}'); return value * value"), "it gave no report");
    runtime.limits.wallTime = 500ms;
    EXPECT_EQ(failureOf("import time; time.sleep(3600)"), "it took too long");
    runtime.interpreter = "/none";
    EXPECT_EQ(failureOf("return 1"),
              "the interpreter cannot be started: No such file or directory");
}

TEST_F(ApproachTestsTest, ListsTreesAndOrdersAreUnderstood) {
    const auto check = [this](const char* tests, const std::string& body) {
        exercise.tests = boost::json::parse(tests).as_array();
        return failureOf(body);
    };
    exercise.takes = {"linked list"};
    exercise.gives = "linked list";
    EXPECT_EQ(check("[[[[1, 2]], [2]]]", "return value.next"), "");
    EXPECT_EQ(check("[[[[1]], [1, 1]]]", "value.next = value; return value"),
              "it fails the tests [1]");
    exercise.takes = {"tree"};
    exercise.gives = "";
    EXPECT_EQ(check("[[[[1, null, 2, 3]], 3]]", "return value.right.left.val"), "");
    exercise.takes = {};
    exercise.order = ResultOrder::any;
    EXPECT_EQ(check("[[[[1, 2]], [2, 1]]]", "return value"), "");
    EXPECT_EQ(check("[[[[[1, 2], [3]]], [[3], [2, 1]]]]", "return value"),
              "it fails the tests [1]");
    exercise.order = ResultOrder::anyInside;
    EXPECT_EQ(check("[[[[[1, 2], [3]]], [[3], [2, 1]]]]", "return value"), "");
}

class PracticeToolTest : public testing::Test {
protected:
    PracticeToolTest() {
        std::filesystem::copy(std::string(LUMIVANE_EXERCISES_FOLDER) + "/climbing-stairs.md",
                              folder.path());
    }

    int build() const {
        const std::string output = (folder.path() / "memory").string();
        const std::vector<std::string> arguments{LUMIVANE_PRACTICE_TOOL, folder.path().string(),
                                                 LUMIVANE_PRACTICE_HARNESS, LUMIVANE_PYTHON,
                                                 output};
        std::string command;
        for (const std::string& argument : arguments) {
            command += "'" + argument + "' ";
        }
        const int status = std::system((command + "2>/dev/null").c_str());
        return WEXITSTATUS(status);
    }

    void replaceInExercise(const std::string& text, const std::string& replacement) const {
        const auto path = folder.path() / "climbing-stairs.md";
        std::ifstream file(path);
        std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        const auto at = content.find(text);
        ASSERT_NE(at, std::string::npos);
        std::ofstream(path) << content.replace(at, text.size(), replacement);
    }

    bool isThere() const { return std::filesystem::exists(folder.path() / "memory"); }

    lumivane::service::test::TemporaryFolder folder;
};

TEST_F(PracticeToolTest, WritesAMemoryOfExercisesThatPass) {
    EXPECT_EQ(build(), 0);
    EXPECT_EQ(PracticeMemory::open(folder.path() / "memory")->size(), 1U);
}

TEST_F(PracticeToolTest, AFailingSolutionFailsTheBuildAndWritesNothing) {
    replaceInExercise("[[10], 89]", "[[10], 90]");
    EXPECT_EQ(build(), 1);
    EXPECT_FALSE(isThere());
}

TEST_F(PracticeToolTest, ABrokenExerciseFailsTheBuildAndWritesNothing) {
    replaceInExercise("## Pitfalls", "## Traps");
    EXPECT_EQ(build(), 1);
    EXPECT_FALSE(isThere());
}

TEST_F(PracticeToolTest, AFailedBuildLeavesTheLastMemoryAlone) {
    EXPECT_EQ(build(), 0);
    replaceInExercise("[[10], 89]", "[[10], 90]");
    EXPECT_EQ(build(), 1);
    EXPECT_EQ(PracticeMemory::open(folder.path() / "memory")->size(), 1U);
}

} // namespace lumivane::service
