import os
import pathlib
import shutil
import subprocess
import unittest

from tree import TreeTest

# Stands for a build: what it installs lies in a folder.
CMAKE = """#!/bin/sh
echo "$*" >>"$MACHINE/cmake"
case "$1" in
  --build) exit "${BUILD_STATUS:-0}" ;;
  --install) mkdir -p "$DESTDIR$4" && cp -a "$MACHINE/payload/." "$DESTDIR$4/" ;;
esac
"""

# Stands for the program's two jobs of maintenance.
PROGRAM = """#!/bin/sh
echo "$*" >>"$MACHINE/program"
[ -n "${BROKEN_PROGRAM:-}" ] && kill -ABRT $$
case "$1" in
  --unregister-login-item) rm -f "$XDG_CONFIG_HOME/autostart/com.marnoth.Lumivane.desktop" ;;
  --reset-settings) rm -f "$XDG_CONFIG_HOME/lumivane/settings.json" ;;
esac
"""

# Stands for a keyring, one file for each item.
SECRET_TOOL = """#!/bin/sh
echo "$*" >>"$MACHINE/secret-tool"
case "${KEYRING:-there}" in
  absent) echo "secret-tool: no such name" >&2; exit 1 ;;
  hung) exec sleep 100 ;;
esac
rm "$MACHINE/keyring/$3" 2>/dev/null
"""

# Stands for the bus of a session, with or without somebody on it who keeps secrets.
DBUS_SEND = """#!/bin/sh
[ -n "${SESSION:-}" ] || exit 1
case "$*" in
  *ListActivatableNames*) [ "$SESSION" != startable ] || echo 'string "org.freedesktop.secrets"' ;;
  *DBus.NameHasOwner*string:org.freedesktop.secrets)
    if [ "$SESSION" = keyring ]; then echo 'boolean true'; else echo 'boolean false'; fi ;;
esac
"""

SERVICES = ("com.marnoth.Lumivane.authentication", "com.marnoth.Lumivane.device")
ENTRY = "share/applications/com.marnoth.Lumivane.desktop"
ICON = "share/icons/hicolor/scalable/apps/com.marnoth.Lumivane.svg"
MANIFEST = "share/lumivane/install-manifest"


class InstallationTest(TreeTest):
    def setUp(self):
        super().setUp()
        for name, text in {"cmake": CMAKE, "secret-tool": SECRET_TOOL,
                           "dbus-send": DBUS_SEND,
                           "update-desktop-database": "#!/bin/sh\necho x >\"$2/mimeinfo.cache\"\n"}.items():
            self.write(f"machine/bin/{name}", text).chmod(0o755)
        self.write("scripts/install-deps.sh", "#!/bin/sh\n").chmod(0o755)
        self.write("machine/payload/bin/lumivane", PROGRAM).chmod(0o755)
        self.write("machine/payload/bin/lumivane-service", "#!/bin/sh\n").chmod(0o755)
        self.write(f"machine/payload/{ENTRY}", "[Desktop Entry]\n")
        self.write(f"machine/payload/{ICON}", "<svg/>\n")
        self.write("machine/payload/share/lumivane/info.json", "{}\n")
        for service in SERVICES:
            self.write(f"machine/keyring/{service}", "secret\n")
        self.home = self.root / "home"
        self.home.mkdir()
        self.prefix = self.home / ".local"
        self.config = self.home / ".config"
        self.settings = self.write("home/.config/lumivane/settings.json", "{}\n")
        self.environment.update({
            "PATH": f"{self.root}/machine/bin:{os.environ['PATH']}", "HOME": str(self.home),
            "MACHINE": str(self.root / "machine"), "XDG_CONFIG_HOME": str(self.config),
            "TMPDIR": str(self.root / "machine")})
        self.environment.pop("XDG_DATA_HOME", None)
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)
        self.environment.pop("LUMIVANE_BUILD_DIR", None)

    def asked(self, name):
        file = self.root / "machine" / name
        return file.read_text().splitlines() if file.exists() else []

    def files(self, folder=None):
        folder = folder or self.prefix
        return sorted(str(path.relative_to(folder)) for path in folder.rglob("*")
                      if path.is_symlink() or path.is_file())

    def write_login_item(self, text):
        return self.write("home/.config/autostart/com.marnoth.Lumivane.desktop", text)

    def register_login_item(self, program=None):
        return self.write_login_item(
            f"[Desktop Entry]\nExec={program or self.prefix / 'bin/lumivane'} --login-item\n")


class InstallTest(InstallationTest):
    PAYLOAD = sorted(["bin/lumivane", "bin/lumivane-service", ENTRY, ICON, MANIFEST,
                      "share/applications/mimeinfo.cache", "share/lumivane/info.json"])

    def test_everything_comes_to_the_users_own_place(self):
        output = self.assert_passes("install.sh")
        self.assertEqual(self.files(), self.PAYLOAD)
        self.assertTrue(os.access(self.prefix / "bin/lumivane", os.X_OK))
        self.assertIn(f"Installed {self.prefix}/bin/lumivane\n", output)
        self.assertNotIn("XDG_DATA_DIRS", output)
        preset, build, install = self.asked("cmake")
        self.assertEqual(preset, f"--preset release -B {self.root}/build/release")
        self.assertTrue(build.endswith("--target lumivane lumivane-service lumivane-packaging"))
        self.assertTrue(install.endswith(f"--prefix {self.prefix}"))

    def test_another_place_and_another_build_can_be_named(self):
        self.environment["LUMIVANE_BUILD_DIR"] = "/elsewhere/build"
        for form in (["--prefix", "there"], [f"--prefix={self.root}/there/../there/"]):
            output = self.assert_passes("install.sh", *form)
            self.assertEqual(self.files(self.root / "there"), self.PAYLOAD)
            self.assertIn("XDG_DATA_DIRS", output)
        self.assertFalse(self.prefix.exists())
        self.assertIn("--preset release -B /elsewhere/build", self.asked("cmake"))

    def test_a_session_without_a_keyring_is_warned_of(self):
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere"
        for session, is_warned_of in (("bare", True), ("keyring", False), ("startable", False),
                                      ("", False)):
            self.environment["SESSION"] = session
            output = self.assert_passes("install.sh")
            self.assertEqual("no keyring answers in this session" in output, is_warned_of, session)
        # Without a session there is nothing to say, and no bus is started to find out.
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS")
        self.environment["SESSION"] = "bare"
        self.assertNotIn("keyring", self.assert_passes("install.sh"))

    def test_a_second_time_replaces_the_first(self):
        self.assert_passes("install.sh")
        before = (self.prefix / MANIFEST).read_text()
        self.write("machine/payload/share/lumivane/info.json", "{\"new\":1}\n")
        self.assert_passes("install.sh")
        self.assertEqual(self.files(), self.PAYLOAD)
        self.assertEqual((self.prefix / MANIFEST).read_text(), before)
        self.assertEqual((self.prefix / "share/lumivane/info.json").read_text(), "{\"new\":1}\n")

    def test_what_a_newer_version_no_longer_has_goes(self):
        self.assert_passes("install.sh")
        (self.root / "machine/payload" / ICON).unlink()
        self.assertIn("no longer part", self.assert_passes("install.sh"))
        self.assertNotIn(ICON, self.files())
        self.assertNotIn(ICON, (self.prefix / MANIFEST).read_text())

    def test_a_failed_build_touches_nothing(self):
        self.environment["BUILD_STATUS"] = "1"
        status, _ = self.script("install.sh")
        self.assertNotEqual(status, 0)
        self.assertFalse(self.prefix.exists())

    def test_it_does_not_write_through_a_link(self):
        elsewhere = self.root / "elsewhere"
        elsewhere.mkdir()
        (self.prefix / "share").mkdir(parents=True)
        (self.prefix / "share/applications").symlink_to(elsewhere)
        self.assert_finds("lies behind a link", "install.sh")
        self.assertEqual(self.files(elsewhere), [])
        self.assertEqual(self.files(), ["share/applications"])

    def test_it_replaces_neither_a_folder_nor_a_link(self):
        (self.prefix / "bin/lumivane").mkdir(parents=True)
        self.assert_finds("bin/lumivane is there and no file", "install.sh")
        (self.prefix / "bin/lumivane").rmdir()
        (self.prefix / "bin/lumivane").symlink_to(self.settings)
        self.assert_finds("bin/lumivane is there and no file", "install.sh")
        self.assertEqual(self.settings.read_text(), "{}\n")

    def test_a_program_that_runs_keeps_its_file(self):
        self.assert_passes("install.sh")
        before = (self.prefix / "bin/lumivane").stat().st_ino
        self.assert_passes("install.sh")
        self.assertNotEqual((self.prefix / "bin/lumivane").stat().st_ino, before)

    def test_nothing_temporary_stays(self):
        self.assert_passes("install.sh")
        self.assertEqual([name for name in os.listdir(self.root / "machine")
                          if name.startswith("lumivane-install")], [])
        self.assertEqual([name for name in self.files() if name.endswith(".new")], [])

    def test_places_that_desktops_cannot_read_are_refused(self):
        for prefix in ("/", "", "a b", "a'b", 'a"b', "a$b", "a%b", "a\\b", "a`b", "a;b", "a=b",
                       "a\tb", "a\nb", "a#b", "a[b", "a]b", "~/x"):
            for script in ("install.sh", "uninstall.sh"):
                status, output = self.script(script, "--prefix", prefix)
                self.assertEqual(status, 1, (script, prefix, output))
                self.assertIn("prefix", output)
        self.assertEqual(self.asked("cmake"), [])

    def test_unknown_words_are_refused_and_help_helps(self):
        for script in ("install.sh", "uninstall.sh"):
            status, output = self.script(script, "--everything")
            self.assertEqual(status, 2)
            self.assertIn("--prefix", output)
            self.assertIn("--prefix DIR", self.assert_passes(script, "--help"))
        self.assertIn("--reset-settings also", self.assert_passes("uninstall.sh", "-h"))
        self.assertEqual(self.asked("cmake"), [])


class UninstallTest(InstallationTest):
    def test_exactly_what_was_installed_goes(self):
        mine = self.write("home/.local/share/applications/mine.desktop", "mine\n")
        self.write("home/.local/bin/mine", "mine\n")
        self.write("home/.local/share/lumivane/mine", "mine\n")
        self.assert_passes("install.sh")
        output = self.assert_passes("uninstall.sh")
        self.assertEqual(self.files(), ["bin/mine", "share/applications/mimeinfo.cache",
                                        "share/applications/mine.desktop", "share/lumivane/mine"])
        self.assertEqual(mine.read_text(), "mine\n")
        for line in ("Lumivane is not running.", "Lumivane did not start at login.",
                     f"Removed {self.prefix}/bin/lumivane", f"Removed {self.prefix}/{MANIFEST}",
                     "Lumivane is uninstalled."):
            self.assertIn(line + "\n", output)
        self.assertTrue(self.settings.exists())
        self.assertEqual(self.asked("secret-tool"), [])

    def test_folders_that_were_made_for_it_go_too(self):
        (self.prefix / "share").mkdir(parents=True)
        self.assert_passes("install.sh")
        self.assert_passes("uninstall.sh")
        self.assertEqual([path.name for path in self.prefix.rglob("*")], ["share"])

    def test_a_second_time_is_harmless(self):
        self.assert_passes("install.sh")
        self.assert_passes("uninstall.sh", "--reset-settings")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        for line in ("Lumivane is not running.", f"Nothing is installed in {self.prefix}.",
                     "Your keyring does not hold the login", "All settings are forgotten.",
                     "Lumivane did not start at login."):
            self.assertIn(line, output)

    def test_it_works_where_nothing_ever_was(self):
        shutil.rmtree(self.home)
        self.home.mkdir()
        self.assert_passes("uninstall.sh", "--reset-settings")
        self.assertEqual(list(self.home.iterdir()), [])

    def test_half_an_installation_goes_as_well(self):
        self.assert_passes("install.sh")
        self.register_login_item()
        shutil.rmtree(self.prefix / "bin")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        self.assertIn(f"Already gone: {self.prefix}/bin/lumivane\n", output)
        self.assertIn("Lumivane no longer starts at login.\n", output)
        self.assertEqual(self.files(self.home), [])

    def test_the_program_unregisters_its_login_item_before_it_goes(self):
        self.assert_passes("install.sh")
        entry = self.register_login_item()
        output = self.assert_passes("uninstall.sh")
        self.assertEqual(self.asked("program"), ["--unregister-login-item"])
        self.assertFalse(entry.exists())
        self.assertIn("Lumivane no longer starts at login.\n", output)

    def test_a_broken_program_leaves_nothing_behind_either(self):
        self.environment["BROKEN_PROGRAM"] = "yes"
        self.assert_passes("install.sh")
        entry = self.register_login_item()
        self.write("home/.config/lumivane/settings.json.damaged", "?")
        self.write("home/.config/lumivane/settings.json.damaged-2", "?")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        self.assertEqual(self.asked("program"), ["--unregister-login-item", "--reset-settings"])
        self.assertFalse(entry.exists())
        self.assertFalse(self.settings.parent.exists())
        self.assertIn(f"Removed {self.settings}\n", output)
        self.assertNotIn("Abort", output)

    def test_a_login_item_of_another_installation_stays(self):
        self.assert_passes("install.sh")
        entry = self.register_login_item("/opt/lumivane/bin/lumivane")
        output = self.assert_passes("uninstall.sh")
        self.assertTrue(entry.exists())
        self.assertEqual(self.asked("program"), [])
        self.assertIn(f"Left {entry}, which starts another program.\n", output)

    def test_a_login_item_of_a_program_whose_path_begins_alike_stays(self):
        self.assert_passes("install.sh")
        program = self.prefix / "bin/lumivane"
        for command in (f"{program}-beta --login-item", f"/opt{program} --login-item",
                        f'"{program}-beta"', f"env {program}.old --login-item"):
            entry = self.write_login_item(f"[Desktop Entry]\nName={program}\nExec={command}\n")
            output = self.assert_passes("uninstall.sh")
            self.assertTrue(entry.exists(), command)
            self.assertIn(f"Left {entry}, which starts another program.\n", output)
        self.assertEqual(self.asked("program"), [])

    def test_only_the_command_of_the_entry_itself_counts(self):
        self.assert_passes("install.sh")
        entry = self.write_login_item(
            f"[Desktop Entry]\nExec=/opt/lumivane\nTryExec={self.prefix}/bin/lumivane\n"
            f"[Desktop Action A]\nExec={self.prefix}/bin/lumivane\n")
        self.assertIn("which starts another program", self.assert_passes("uninstall.sh"))
        self.assertTrue(entry.exists())

    def test_a_login_item_that_names_the_program_in_another_way_goes(self):
        program = self.prefix / "bin/lumivane"
        for command in (f'"{program}" --login-item', f"env {program}", f'env A=b "{program}" %u',
                        f" \t{program}\t%u\r", str(program)):
            self.assert_passes("install.sh")
            entry = self.write_login_item(f"# mine\r\n[Desktop Entry]\r\nExec ={command}")
            output = self.assert_passes("uninstall.sh")
            self.assertFalse(entry.exists(), command)
            self.assertIn("Lumivane no longer starts at login.\n", output)

    def test_a_login_item_without_a_command_goes(self):
        for text in ("", "[Desktop Entry]\nHidden=true\n", "[Desktop Entry]\nExec=\nHidden=true",
                     "[Desktop Action A]\nExec=/opt/lumivane\n", "Exec=/opt/lumivane\n"):
            self.assert_passes("install.sh")
            entry = self.write_login_item(text)
            output = self.assert_passes("uninstall.sh")
            self.assertFalse(entry.exists(), text)
            self.assertIn("Lumivane no longer starts at login.\n", output)
            self.assertNotIn("another program", output)

    def test_whatever_settings_a_broken_program_left_is_forgotten(self):
        self.environment["BROKEN_PROGRAM"] = "yes"
        self.assert_passes("install.sh")
        names = (".settings.json-0123abcd.tmp", "com.marnoth.Lumivane.Testing.json",
                 "com.marnoth.Lumivane.Testing.json.damaged-2",
                 ".com.marnoth.Lumivane.Testing.json-0123abcd.tmp")
        for name in names:
            self.write(f"home/.config/lumivane/{name}", "{}")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        for name in names:
            self.assertIn(f"Removed {self.settings.parent}/{name}\n", output)
        self.assertFalse(self.settings.parent.exists())
        self.assertIn("All settings are forgotten.\n", output)

    def test_settings_that_cannot_be_removed_are_not_called_forgotten(self):
        for name in ("settings.json", "settings.json.damaged", ".settings.json-0123abcd.tmp",
                     "com.marnoth.Lumivane.Testing.json"):
            self.settings.unlink(missing_ok=True)
            self.assert_passes("install.sh")
            mine = self.write(f"home/.config/lumivane/{name}/mine", "mine\n")
            output = self.assert_finds(f"Left {mine.parent}, which cannot be removed",
                                       "uninstall.sh", "--reset-settings")
            self.assertNotIn("forgotten", output)
            self.assertEqual(mine.read_text(), "mine\n")
            shutil.rmtree(mine.parent)

    def test_resetting_takes_settings_and_both_keyring_items(self):
        self.assert_passes("install.sh")
        mine = self.write("home/.config/lumivane/info.json", "{}")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        self.assertEqual(self.asked("program"), ["--unregister-login-item", "--reset-settings"])
        self.assertFalse(self.settings.exists())
        self.assertTrue(mine.exists())
        self.assertEqual(self.asked("secret-tool"), [f"clear service {name}" for name in SERVICES])
        self.assertEqual(self.files(self.root / "machine/keyring"), [])
        for name in SERVICES:
            self.assertIn(f"({name}) from your keyring.\n", output)
        self.assertIn("All settings are forgotten.\n", output)

    def test_a_session_without_a_keyring_is_told_so(self):
        self.environment["KEYRING"] = "absent"
        self.assert_passes("install.sh")
        output = self.assert_passes("uninstall.sh", "--reset-settings")
        self.assertEqual(output.count("No keyring can be reached"), 2)

    def test_a_keyring_that_does_not_answer_does_not_hold_it_up(self):
        self.environment.update({"KEYRING": "hung", "LUMIVANE_KEYRING_LIMIT": "0.1"})
        self.assert_passes("install.sh")
        output = self.assert_finds("did not answer", "uninstall.sh", "--reset-settings")
        self.assertIn("Not everything could be removed", output)
        self.assertEqual(self.files(), [])
        self.assertFalse(self.settings.exists())

    def test_a_machine_without_the_keyrings_tool_is_told_so(self):
        self.assert_passes("install.sh")
        (self.root / "machine/bin/secret-tool").unlink()
        tools = self.root / "machine/tools"
        tools.mkdir()
        for name in ("bash", "basename", "dirname", "realpath", "readlink", "env", "sed", "sort",
                     "tac", "rm", "rmdir", "ls", "touch", "timeout", "grep", "sh", "seq", "sleep", "find", "id"):
            (tools / name).symlink_to(shutil.which(name))
        self.environment["PATH"] = str(tools)
        self.assert_finds("secret-tool is missing", "uninstall.sh", "--reset-settings")
        self.assertEqual([name for name in self.files() if "mimeinfo" not in name], [])

    def test_it_does_not_follow_links_that_came_later(self):
        self.assert_passes("install.sh")
        moved = self.root / "moved"
        (self.prefix / "share/lumivane").rename(moved)
        (self.prefix / "share/lumivane").symlink_to(moved)
        output = self.assert_passes("uninstall.sh")
        self.assertIn("Nothing is installed", output)
        self.assertTrue((moved / "info.json").exists())
        (self.prefix / "share/lumivane").unlink()
        moved.rename(self.prefix / "share/lumivane")
        (self.prefix / "share/icons").rename(moved)
        (self.prefix / "share/icons").symlink_to(moved)
        self.assert_finds("lies behind a link", "uninstall.sh")
        self.assertEqual(self.files(moved), ["hicolor/scalable/apps/com.marnoth.Lumivane.svg"])
        self.assertEqual(self.files(), ["share/icons"])

    def test_what_took_the_place_of_a_file_stays(self):
        self.assert_passes("install.sh")
        (self.prefix / ENTRY).unlink()
        (self.prefix / ENTRY).symlink_to(self.settings)
        (self.prefix / ICON).unlink()
        self.write(f"home/.local/{ICON}/mine", "mine\n")
        self.assert_finds("which is not what was installed", "uninstall.sh")
        self.assertTrue((self.prefix / ENTRY).is_symlink())
        self.assertTrue(self.settings.exists())
        self.assertTrue((self.prefix / ICON / "mine").exists())

    def test_a_manifest_cannot_lead_out_of_its_place(self):
        self.assert_passes("install.sh")
        victim = self.write("home/victim", "mine\n")
        with open(self.prefix / MANIFEST, "a", encoding="utf-8") as manifest:
            manifest.write(f"file ../victim\nfile {victim}\nfile share/../../victim\n"
                           "file ./../victim\nfile share//x\nfolder ../..\nfolder .\nnonsense\n"
                           "file bin/*\nfile\n\n\0\n")
        self.assert_passes("uninstall.sh")
        self.assertEqual(victim.read_text(), "mine\n")
        self.assertEqual(self.files(), [])
        self.assertTrue(self.prefix.exists())


class RunningProgramTest(InstallationTest):
    def start(self, *command):
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdin.close)
        self.addCleanup(process.stdout.close)
        return process

    def install_shell(self):
        # A real program, since a script's process is that of its interpreter.
        shutil.copy(os.path.realpath(shutil.which("bash")), self.root / "machine/payload/bin/lumivane")
        self.assert_passes("install.sh")

    def start_installed(self, script):
        process = self.start(str(self.prefix / "bin/lumivane"), "-c", script)
        self.assertEqual(process.stdout.readline(), b"ready\n")
        return process

    def test_it_is_asked_to_end_and_nothing_else_is(self):
        self.install_shell()
        process = self.start_installed("trap 'exit 7' TERM; echo ready; read -r line")
        copy = pathlib.Path(shutil.copy(self.prefix / "bin/lumivane", self.home / "lumivane"))
        other = self.start(str(copy), "-c", "echo ready; read -r line")
        self.assertEqual(other.stdout.readline(), b"ready\n")
        output = self.assert_passes("uninstall.sh")
        self.assertIn("Stopped Lumivane.\n", output)
        self.assertEqual(process.wait(10), 7)
        self.assertIsNone(other.poll())

    def test_one_that_was_replaced_while_it_ran_is_found(self):
        self.install_shell()
        process = self.start_installed("echo ready; read -r line")
        self.assert_passes("install.sh")
        self.assertIn("Stopped Lumivane.\n", self.assert_passes("uninstall.sh"))
        self.assertEqual(process.wait(10), -15)

    def test_one_that_does_not_end_keeps_everything_in_place(self):
        self.install_shell()
        process = self.start_installed("trap '' TERM; echo ready; read -r line")
        before = self.files()
        output = self.assert_finds("Lumivane does not stop", "uninstall.sh", "--reset-settings")
        self.assertIn(str(process.pid), output)
        self.assertEqual(self.files(), before)
        self.assertTrue(self.settings.exists())
        self.assertIsNone(process.poll())


if __name__ == "__main__":
    unittest.main()
