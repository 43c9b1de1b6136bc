import unittest

from tree import TreeTest

# Stands for a target: writes down how it was called, then ends as its name says.
TARGET = """#!/bin/sh
echo "$*" >"$0.called"
echo "stat::number_of_executed_units: 42"
echo "what it said"
exit {status}
"""


class FuzzTest(TreeTest):
    def plant(self, name, status=0):
        self.write(f"fuzz/fuzz_{name}.cpp", "")
        self.write(f"programs/fuzz_{name}", TARGET.format(status=status)).chmod(0o755)

    def fuzz(self, *arguments):
        return ("fuzz", "--programs", "programs", *arguments)

    def called(self, name):
        file = self.root / f"programs/fuzz_{name}.called"
        return file.read_text().split() if file.exists() else None

    def test_each_target_runs_from_its_kept_corpus_for_the_time_given(self):
        for name in ("alpha", "beta", "gamma"):
            self.plant(name)
        self.write("fuzz/corpus/alpha/one", "1")
        out = self.assert_passes(*self.fuzz("7"))
        for name in ("alpha", "beta", "gamma"):
            self.assertIn(f"fuzz: {name} found nothing in 42 runs", out)
            self.assertIn("-max_total_time=7", self.called(name))
            self.assertIn(f"build/fuzz/corpus/{name}", self.called(name))
        self.assertEqual(self.called("alpha")[-1], "fuzz/corpus/alpha")
        self.assertEqual(self.called("beta")[-1], "build/fuzz/corpus/beta")

    def test_only_what_is_named_runs_and_a_minute_is_the_default(self):
        self.plant("alpha")
        self.plant("beta")
        self.assert_passes(*self.fuzz("1", "beta"))
        self.assertIsNone(self.called("alpha"))
        self.assert_passes(*self.fuzz())
        self.assertIn("-max_total_time=60", self.called("alpha"))

    def test_a_finding_fails_and_the_others_still_run(self):
        for name, status in {"alpha": 0, "beta": 77, "gamma": 1, "omega": 0}.items():
            self.plant(name, status)
        out = self.assert_finds("fuzz: findings in beta gamma", *self.fuzz("1"))
        self.assertIn("what it said", out)
        self.assertIn("fuzz: omega found nothing", out)

    def test_a_name_without_a_target_and_a_time_that_is_none_are_refused(self):
        self.plant("alpha")
        self.assert_finds("no target other", *self.fuzz("1", "other"))
        for time in ("0", "soon", "1s"):
            self.assert_finds("not a number of seconds", *self.fuzz(time))
        self.assertIsNone(self.called("alpha"))


if __name__ == "__main__":
    unittest.main()
