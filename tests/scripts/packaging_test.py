"""What a configured build installs besides its programs. LUMIVANE_BUILD names that build."""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("LUMIVANE_BUILD", ROOT / "build/dev"))
NAME = "com.marnoth.Lumivane.desktop"


class DesktopEntryTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="lumivane-packaging-")
        self.addCleanup(folder.cleanup)
        self.stage = pathlib.Path(folder.name)

    def install(self, prefix):
        return subprocess.run(
            ["cmake", f"-DCMAKE_INSTALL_PREFIX={prefix}", "-P",
             str(BUILD / "packaging/InstallDesktopEntry.cmake")],
            env={**os.environ, "DESTDIR": str(self.stage)}, capture_output=True, text=True,
            check=False)

    def entry(self, prefix):
        done = self.install(prefix)
        self.assertEqual(done.returncode, 0, done.stderr)
        return self.stage / prefix.lstrip("/") / "share/applications" / NAME

    def test_desktops_accept_it(self):
        file = self.entry("/home/someone/.local")
        done = subprocess.run(["desktop-file-validate", str(file)], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))

    def test_it_starts_the_program_of_its_own_prefix_with_the_address(self):
        for prefix in ("/home/someone/.local", "/usr/local", "/home/jürgen/apps+x@1"):
            lines = self.entry(prefix).read_text(encoding="utf-8").splitlines()
            self.assertIn(f"Exec={prefix}/bin/lumivane %u", lines)
            self.assertIn(f"TryExec={prefix}/bin/lumivane", lines)

    def test_it_is_the_handler_of_the_logins_scheme_and_has_the_icon(self):
        lines = self.entry("/usr/local").read_text(encoding="utf-8").splitlines()
        for line in ("MimeType=x-scheme-handler/com.marnoth.lumivane.oauth;",
                     "Icon=com.marnoth.Lumivane", "Categories=Utility;", "StartupNotify=false",
                     "Terminal=false", "Type=Application", "Name=Lumivane"):
            self.assertIn(line, lines)
        self.assertFalse([line for line in lines if "@" in line])

    def test_a_prefix_that_it_cannot_carry_is_refused(self):
        for prefix in ("/a b", "/a%b", "/a'b", '/a"b', "/a$b", "/a`b", "/a\\b", "/a;b", "/a(b",
                       "/a&b", "/a=b", "/a[b", "/a]b", "/a\tb"):
            self.assertNotEqual(self.install(prefix).returncode, 0, prefix)
        self.assertEqual(list(self.stage.rglob(NAME)), [])


class InformationTest(unittest.TestCase):
    def test_it_lies_where_a_program_of_the_build_finds_it(self):
        information = json.loads((BUILD / "share/lumivane/info.json").read_text(encoding="utf-8"))
        version = re.search(r"^project\(Lumivane VERSION (\S+)",
                            (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"), re.MULTILINE)
        self.assertEqual(information, {"CFBundleShortVersionString": version[1],
                                       "LumivaneAPIBaseURL": "http://127.0.0.1:8787"})


if __name__ == "__main__":
    unittest.main()
