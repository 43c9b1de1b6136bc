import json
import unittest

from tree import TreeTest


class FormatTest(TreeTest):
    UGLY = "int  main( ){return 0;}\n"

    def test_a_file_out_of_form_is_found_and_left_alone(self):
        file = self.write("src/Ugly.cpp", self.UGLY)
        self.assert_finds("src/Ugly.cpp", "format", "--check")
        self.assertEqual(file.read_text(), self.UGLY)

    def test_formatting_mends_it(self):
        file = self.write("src/Ugly.cpp", self.UGLY)
        self.assert_passes("format")
        self.assertEqual(file.read_text(), "int main() { return 0; }\n")
        self.assert_passes("format", "--check")

    def test_deleted_and_ignored_files_are_passed_over(self):
        gone = self.write("src/Gone.cpp", "int gone;\n")
        self.commit()
        gone.unlink()
        self.write("build/Generated.cpp", self.UGLY)
        self.assert_passes("format", "--check")


class LintTest(TreeTest):
    BAD = "int* nothing() {\n    return 0;\n}\n"
    GOOD = "int* nothing() {\n    return nullptr;\n}\n"

    def compile_commands(self, *names):
        entries = [{"directory": str(self.root), "file": name,
                    "command": f"c++ -std=c++20 -Isrc -c {name}"} for name in names]
        self.write("build/dev/compile_commands.json", json.dumps(entries))

    def test_a_planted_finding_fails(self):
        self.write("src/Bad.cpp", self.BAD)
        self.compile_commands("src/Bad.cpp")
        self.assert_finds("modernize-use-nullptr", "lint")

    def test_a_finding_in_a_coroutine_is_seen(self):
        self.write("src/Bad.cpp",
                   "#include <coroutine>\n"
                   "struct Task {\n"
                   "    struct promise_type {\n"
                   "        Task get_return_object() { return {}; }\n"
                   "        std::suspend_never initial_suspend() { return {}; }\n"
                   "        std::suspend_never final_suspend() noexcept { return {}; }\n"
                   "        void return_void() {}\n"
                   "        void unhandled_exception() {}\n"
                   "    };\n"
                   "};\n"
                   "Task flow() {\n"
                   "    int* nothing = 0;\n"
                   "    (void)nothing;\n"
                   "    co_await std::suspend_never{};\n"
                   "}\n")
        self.compile_commands("src/Bad.cpp")
        self.assert_finds("src/Bad.cpp:12:20", "lint")

    def test_a_tree_without_findings_passes(self):
        self.write("src/Good.cpp", self.GOOD)
        self.compile_commands("src/Good.cpp")
        self.assertIn("lint: 1 files", self.assert_passes("lint"))

    def test_recent_looks_at_changed_files_only(self):
        self.write("src/Old.cpp", self.BAD)
        self.commit()
        for number in range(21):
            self.write("src/Good.cpp", f"// {number}\n{self.GOOD}")
            self.commit()
        self.compile_commands("src/Old.cpp", "src/Good.cpp")
        self.assertIn("lint: 1 files", self.assert_passes("lint", "--recent"))
        self.assert_finds("src/Old.cpp", "lint")

    def test_recent_counts_from_the_upstream_branch(self):
        self.write("src/Old.cpp", self.BAD)
        self.commit()
        self.git("update-ref", "refs/remotes/origin/trunk", "HEAD")
        self.git("symbolic-ref", "refs/remotes/origin/HEAD", "refs/remotes/origin/trunk")
        self.write("src/Good.cpp", self.GOOD)
        self.commit()
        self.compile_commands("src/Old.cpp", "src/Good.cpp")
        self.assertIn("lint: 1 files", self.assert_passes("lint", "--recent"))

    def test_recent_reaches_a_header_through_a_file_that_includes_it(self):
        self.write("src/part/User.cpp", '#include "part/Used.h"\nint* use() { return nothing(); }\n')
        self.commit()
        self.git("update-ref", "refs/remotes/origin/HEAD", "HEAD")
        self.write("src/part/Used.h", "#pragma once\ninline " + self.BAD)
        self.compile_commands("src/part/User.cpp")
        self.assert_finds("src/part/Used.h", "lint", "--recent")

    def test_a_limit_keeps_the_newest_and_says_so(self):
        self.write("src/Old.cpp", self.BAD)
        self.commit()
        self.write("src/Good.cpp", self.GOOD)
        self.commit()
        self.compile_commands("src/Old.cpp", "src/Good.cpp")
        output = self.assert_passes("lint", "--recent", "--at-most", "1")
        self.assertIn("2 files changed, looking at the newest 1", output)


class CheckScriptsTest(TreeTest):
    def test_a_mistake_in_a_shell_script_is_found(self):
        self.assert_passes("check-scripts")
        self.write("scripts/bad", "#!/bin/bash\nrm -rf $1/*\n")
        self.assert_finds("SC2086", "check-scripts")


if __name__ == "__main__":
    unittest.main()
