import unittest

from tree import TreeTest

# Stands for a machine: a file lists what is installed, another what was asked of the installer.
DPKG_QUERY = """#!/bin/sh
while read -r name; do echo "installed $name"; done <"$MACHINE/installed"
echo "config-files xvfb"
exit 1
"""
APT_GET = """#!/bin/sh
echo "$*" >>"$MACHINE/asked"
case "$*" in
  *update*) exit "${UPDATE_STATUS:-0}" ;;
esac
[ -n "${BROKEN:-}" ] && exit 0
for name; do case "$name" in -*|install) ;; *) echo "$name" >>"$MACHINE/installed" ;; esac; done
"""


class InstallDepsTest(TreeTest):
    def setUp(self):
        super().setUp()
        for name, text in {"dpkg-query": DPKG_QUERY, "apt-get": APT_GET,
                           "id": "#!/bin/sh\necho 0\n"}.items():
            self.write(f"machine/bin/{name}", text).chmod(0o755)
        self.write("machine/installed", "")
        self.environment["PATH"] = f"{self.root}/machine/bin:{self.environment['PATH']}"
        self.environment["MACHINE"] = str(self.root / "machine")

    def asked(self):
        file = self.root / "machine/asked"
        return file.read_text().splitlines() if file.exists() else []

    def test_a_bare_machine_gets_every_package_without_extras(self):
        self.assert_passes("install-deps.sh")
        update, install = self.asked()
        self.assertIn("update", update)
        self.assertIn("DPkg::Lock::Timeout=540", install)
        self.assertIn("--no-install-recommends", install)
        listed = self.assert_passes("install-deps.sh", "--list").split()
        self.assertLessEqual(set(listed), set(install.split()))
        self.assertEqual(len(listed), len(set(listed)))
        for name in ("g++", "qt6-base-dev", "qml6-module-qtquick-shapes", "ccache", "xvfb",
                     "tesseract-ocr-eng", "libboost1.81-dev", "clang-tidy"):
            self.assertIn(name, listed)

    def test_a_second_run_asks_nothing(self):
        self.assert_passes("install-deps.sh")
        (self.root / "machine/asked").unlink()
        self.assertEqual(self.assert_passes("install-deps.sh"), "")
        self.assertEqual(self.asked(), [])

    def test_only_what_is_missing_is_installed(self):
        listed = self.assert_passes("install-deps.sh", "--list").split()
        self.write("machine/installed", "\n".join(set(listed) - {"libxcb1-dev"}) + "\n")
        self.assert_passes("install-deps.sh")
        self.assertTrue(self.asked()[1].endswith("--no-install-recommends libxcb1-dev"))

    def test_a_removed_package_with_leftover_settings_counts_as_missing(self):
        listed = self.assert_passes("install-deps.sh", "--list").split()
        self.write("machine/installed", "\n".join(set(listed) - {"xvfb"}) + "\n")
        self.assert_passes("install-deps.sh")
        self.assertTrue(self.asked()[1].endswith(" xvfb"))

    def test_the_run_group_leaves_the_checkers_out(self):
        self.assert_passes("install-deps.sh", "--run")
        self.assertIn(" xvfb", self.asked()[1])
        self.assertNotIn("clang-tidy", self.asked()[1])

    def test_the_test_group_leaves_nothing_out(self):
        self.assert_passes("install-deps.sh", "--test")
        listed = self.assert_passes("install-deps.sh", "--list").split()
        self.assertLessEqual(set(listed), set(self.asked()[1].split()))

    def test_a_mirror_that_does_not_answer_is_survived(self):
        self.environment["UPDATE_STATUS"] = "100"
        self.assert_passes("install-deps.sh")

    def test_an_installer_that_did_nothing_is_noticed(self):
        self.environment["BROKEN"] = "yes"
        self.assert_finds("Still missing: ", "install-deps.sh")

    def test_an_unknown_group_is_refused(self):
        status, output = self.script("install-deps.sh", "--everything")
        self.assertEqual(status, 2)
        self.assertIn("--run", output)
        self.assertEqual(self.asked(), [])


if __name__ == "__main__":
    unittest.main()
