"""A small tree under git, with this tree's own scripts in it, for tests of those scripts."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class TreeTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="lumivane-scripts-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        # Settings of the machine's user play no part.
        self.environment = {**os.environ, "HOME": folder.name, "GIT_CONFIG_NOSYSTEM": "1",
                            "GIT_AUTHOR_NAME": "test", "GIT_AUTHOR_EMAIL": "test@localhost",
                            "GIT_COMMITTER_NAME": "test", "GIT_COMMITTER_EMAIL": "test@localhost"}
        shutil.copytree(ROOT / "scripts", self.root / "scripts",
                        ignore=shutil.ignore_patterns("__pycache__"))
        for name in (".clang-format", ".clang-tidy"):
            shutil.copy(ROOT / name, self.root / name)
        self.git("init", "--quiet")
        self.write(".gitignore", "__pycache__\n/build/\n")

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        return file

    def call(self, *command):
        return subprocess.run(command, cwd=self.root, env=self.environment, capture_output=True,
                              text=True, check=False)

    def git(self, *arguments):
        done = self.call("git", *arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def commit(self, message="test: Change something"):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", message)

    def script(self, name, *arguments):
        done = self.call(str(self.root / "scripts" / name), *arguments)
        return done.returncode, done.stdout + done.stderr

    def assert_passes(self, name, *arguments):
        status, output = self.script(name, *arguments)
        self.assertEqual(status, 0, output)
        return output

    def assert_finds(self, expected, name, *arguments):
        status, output = self.script(name, *arguments)
        self.assertNotEqual(status, 0, output)
        self.assertIn(expected, output)
        return output
