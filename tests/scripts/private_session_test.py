import os
import shutil
import unittest

from tree import TreeTest

# Comes up late, as on a machine with much to do.
SLOW = """#!/bin/sh
sleep 0.5
exec {program} "$@"
"""
SESSION = """
set -euo pipefail
pids=()
trap 'kill "${pids[@]}"; wait' EXIT
source scripts/private-session.bash
unset DBUS_SESSION_BUS_ADDRESS
"""


class PrivateSessionTest(TreeTest):
    def setUp(self):
        super().setUp()
        for name in ("dbus-daemon", "gnome-keyring-daemon"):
            program = shutil.which(name)
            self.write(f"machine/bin/{name}", SLOW.format(program=program)).chmod(0o755)
        self.environment["PATH"] = f"{self.root}/machine/bin:{os.environ['PATH']}"
        # Nothing of the user's is read or changed.
        for name in ("CONFIG", "CACHE", "DATA"):
            self.environment[f"XDG_{name}_HOME"] = str(self.root / "home")

    def session(self, commands):
        done = self.call("bash", "-c", SESSION + commands)
        return done.returncode, done.stdout + done.stderr

    def test_the_bus_answers_as_soon_as_it_is_started(self):
        self.assertEqual(self.session('start_private_bus "$PWD"; bus_answers'), (0, ""))

    def test_a_keyring_is_there_as_soon_as_it_is_started(self):
        status, output = self.session('start_private_bus "$PWD"; start_private_keyring '
                                      '"$PWD/keyring"; has_keyring')
        self.assertEqual(status, 0, output)

    def test_no_bus_is_none(self):
        self.assertNotEqual(self.session("bus_answers")[0], 0)

    def test_a_bus_that_does_not_come_is_said(self):
        self.write("machine/bin/dbus-daemon", "#!/bin/sh\n")
        status, output = self.session('patience=1; start_private_bus "$PWD"')
        self.assertEqual(status, 1)
        self.assertIn("the session bus does not answer", output)


if __name__ == "__main__":
    unittest.main()
