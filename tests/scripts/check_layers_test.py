import unittest

from tree import TreeTest


class CheckLayersTest(TreeTest):
    def setUp(self):
        super().setUp()
        for folder in ("async", "domain", "records", "platform", "telemetry", "screen", "service",
                       "triggers", "analysis", "platform/linux", "provisional"):
            name = folder.replace("/", "_")
            self.write(f"src/{folder}/{name}.h", "#pragma once\n")
        self.write("src/application/Composition.cpp", '#include "platform/linux/platform_linux.h"\n'
                                   '#include "provisional/provisional.h"\n')
        for folder in ("work", "text", "http", "store", "accounts", "login", "application"):
            self.write(f"server/{folder}/{folder}.h", "#pragma once\n")
        self.write("tests/support/Fake.h", "#pragma once\n")

    def include(self, path, name, mark='""'):
        self.write(path, f"#pragma once\n\n#include {mark[0]}{name}{mark[1]}\n")

    def test_a_tree_that_keeps_to_the_picture_passes(self):
        self.include("src/screen/Capture.h", "telemetry/telemetry.h")
        self.include("src/telemetry/Line.h", "records/records.h")
        self.include("src/platform/linux/Sink.h", "platform/platform.h")
        self.include("server/http/Session.h", "server/http/http.h")
        self.include("server/http/Fields.h", "server/text/text.h")
        self.include("server/login/Pages.h", "server/accounts/accounts.h")
        self.include("server/application/Service.h", "server/login/login.h")
        self.include("server/main.cpp", "server/application/application.h")
        self.include("tests/server/PagesTest.cpp", "server/login/login.h")
        self.include("tests/screen/CaptureTest.cpp", "support/Fake.h")
        self.include("tests/platform/SinkTest.cpp", "platform/linux/Sink.h")
        self.include("src/platform/linux/Grab.h", "xcb/xcb.h", "<>")
        self.assert_passes("check-layers")

    def test_every_planted_violation_is_found_by_itself(self):
        planted = {
            "src/async/Bad.h": "domain/domain.h",
            "src/domain/Bad.h": "async/async.h",
            "src/records/Bad.h": "platform/platform.h",
            "src/platform/Bad.h": "records/records.h",
            "src/telemetry/Bad.h": "screen/screen.h",
            "src/screen/Bad.h": "service/service.h",
            "src/service/Bad.h": "screen/screen.h",
            "src/triggers/Bad.h": "platform/linux/platform_linux.h",
            "src/analysis/Bad.h": "platform/linux/platform_linux.h",
            "src/analysis/Worse.h": "provisional/provisional.h",
            "src/platform/linux/Bad.h": "screen/screen.h",
            "src/provisional/Bad.h": "platform/linux/platform_linux.h",
            "server/http/Bad.h": "domain/domain.h",
            "server/text/Bad.h": "server/work/work.h",
            "server/work/Bad.h": "server/http/http.h",
            "server/http/Worse.h": "server/accounts/accounts.h",
            "server/store/Bad.h": "server/http/http.h",
            "server/accounts/Bad.h": "server/login/login.h",
            "server/login/Bad.h": "server/application/application.h",
            "tools/Bad.cpp": "provisional/provisional.h",
            "tests/screen/BadTest.cpp": "analysis/analysis.h",
            "tests/support/Bad.h": "platform/linux/platform_linux.h",
            "tests/server/BadTest.cpp": "domain/domain.h",
        }
        for path, name in planted.items():
            with self.subTest(path):
                self.include(path, name)
                output = self.assert_finds(f'{path}:3: ', "check-layers")
                self.assertIn(f'may not include "{name}"', output)
                self.assertIn(" 1 findings", output)
                (self.root / path).unlink()

    def test_angle_brackets_and_relative_paths_are_no_way_around(self):
        self.include("src/async/Bad.h", "domain/domain.h", "<>")
        self.assert_finds("async may not include", "check-layers")
        self.include("src/async/Bad.h", "../domain/domain.h")
        self.assert_finds("async may not include", "check-layers")

    def test_an_include_of_no_file_is_found_but_generated_ones_are_not(self):
        self.include("src/async/Bad.h", "async/Missing.h")
        self.assert_finds("is no file of the tree", "check-layers")
        self.include("src/async/Bad.h", "Something.moc")
        self.assert_passes("check-layers")

    def test_mechanism_headers_belong_to_the_folder_of_one_desktop(self):
        for name in ("xcb/xcb.h", "tesseract/baseapi.h", "systemd/sd-journal.h", "jpeglib.h"):
            with self.subTest(name):
                self.include("src/screen/Bad.h", name, "<>")
                self.assert_finds("mechanism of one desktop", "check-layers")

    def test_only_the_folder_of_one_desktop_asks_for_the_operating_system(self):
        text = "#pragma once\n#ifdef Q_OS_LINUX\n#endif\n"
        self.write("src/screen/Bad.h", text)
        self.assert_finds("src/screen/Bad.h:2: Q_OS_LINUX is asked", "check-layers")
        self.write("src/screen/Bad.h", "#pragma once\n#if defined(__APPLE__)\n#endif\n")
        self.assert_finds("__APPLE__ is asked", "check-layers")
        (self.root / "src/screen/Bad.h").unlink()
        self.write("src/platform/linux/Fine.h", text)
        self.assert_passes("check-layers")

    def test_comments_do_not_count(self):
        self.write("src/async/Fine.h", '// #include "domain/domain.h"\n'
                                       '/*\n#include "domain/domain.h"\n*/\n')
        self.assert_passes("check-layers")

    def test_a_folder_that_nobody_placed_is_found(self):
        self.write("src/newcomer/New.h", "#pragma once\n")
        self.assert_finds("src/newcomer/New.h:1: this folder has no place", "check-layers")
        (self.root / "src/newcomer/New.h").unlink()
        self.write("server/newcomer/New.h", "#pragma once\n")
        self.assert_finds("server/newcomer/New.h:1: this folder has no place", "check-layers")

    def test_files_that_git_does_not_know_yet_count_and_ignored_ones_do_not(self):
        self.commit()
        self.include("build/Generated.h", "domain/domain.h")
        self.assert_passes("check-layers")
        self.include("src/async/Bad.h", "domain/domain.h")
        self.assert_finds("async may not include", "check-layers")


if __name__ == "__main__":
    unittest.main()
