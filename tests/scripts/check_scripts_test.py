import unittest

from tree import TreeTest


class CheckScriptsTest(TreeTest):
    def leave_only_the_check(self):
        for file in (self.root / "scripts").iterdir():
            if file.name != "check-scripts":
                file.unlink()

    def test_the_scripts_of_the_tree_pass(self):
        self.assertIn("check-scripts: ", self.assert_passes("check-scripts"))

    def test_a_mistake_in_a_script_is_found(self):
        self.leave_only_the_check()
        for first in ("#!/bin/sh", "#!/usr/bin/env bash"):
            with self.subTest(first=first):
                self.write("scripts/planted", f"{first}\necho $1\n")
                self.assert_finds("scripts/planted line 2", "check-scripts")

    def test_a_mistake_in_a_part_of_scripts_is_found(self):
        self.leave_only_the_check()
        self.write("scripts/planted.bash", "# shellcheck shell=bash\necho $1\n")
        self.assert_finds("scripts/planted.bash line 2", "check-scripts")

    def test_other_languages_are_left_alone(self):
        self.leave_only_the_check()
        self.write("scripts/planted", "#!/usr/bin/env python3\necho $1\n")
        self.write("scripts/planted.txt", "echo $1\n")
        self.assert_passes("check-scripts")


if __name__ == "__main__":
    unittest.main()
