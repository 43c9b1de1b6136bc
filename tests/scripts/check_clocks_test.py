import unittest

from tree import TreeTest


class CheckClocksTest(TreeTest):
    def plant(self, path, lines):
        """Each of the lines must be found where it stands; a run for all of them is enough."""
        self.write(path, "".join(f"{line}\n\n" for line in lines))
        output = self.assert_finds(path, "check-clocks")
        for number, line in enumerate(lines):
            with self.subTest(line, path=path):
                self.assertIn(f"{path}:{2 * number + 1}: ", output)
        (self.root / path).unlink()

    def test_each_way_to_a_real_clock_is_found(self):
        planted = (
            "QTimer timer;",
            "QTimer::singleShot(5, [] {});",
            "QElapsedTimer timer;",
            "QDeadlineTimer deadline(5);",
            "const auto id = startTimer(5);",
            "auto now = std::chrono::steady_clock::now();",
            "auto now = std::chrono::system_clock :: now();",
            "using Clock = std::chrono::high_resolution_clock;",
            "auto now = QDateTime::currentDateTime();",
            "auto now = QDateTime::currentDateTimeUtc();",
            "auto now = QDateTime::currentMSecsSinceEpoch();",
            "auto today = QDate::currentDate();",
            "std::this_thread::sleep_for(5ms);",
            "std::this_thread::sleep_until(then);",
            "usleep(5);",
            "QThread::msleep(5);",
            "QTest::qWait(5);",
            "::sleep(1);",
            "sleep(1);",
            "clock_gettime(CLOCK_MONOTONIC, &now);",
            "gettimeofday(&now, nullptr);",
            "auto now = std::time(nullptr);",
            "auto now = time(nullptr);",
            "auto timer = timerfd_create(CLOCK_MONOTONIC, 0);",
        )
        for path in ("src/screen/Bad.cpp", "server/http/Bad.cpp", "tests/screen/BadTest.cpp",
                     "tools/bad.cpp"):
            self.plant(path, planted if path.startswith("src") else planted[:6])

    def test_the_listed_files_may_and_their_neighbours_may_not(self):
        code = "auto now = std::chrono::steady_clock::now();\n"
        for path in ("src/async/SystemClock.cpp", "tests/support/EventLoop.cpp",
                     "benchmarks/layout_bench.cpp", "server/http/ServiceClock.cpp",
                     "server/work/MonotonicTime.cpp"):
            with self.subTest(path):
                self.write(path, code)
                self.assert_passes("check-clocks")
        for path in ("src/async/Clock.cpp", "tests/async/ClockTest.cpp", "server/http/Server.cpp"):
            with self.subTest(path):
                self.write(path, code)
                self.assert_finds(path, "check-clocks")
                (self.root / path).unlink()

    def test_each_way_to_a_real_clock_is_found_in_a_view(self):
        self.plant("src/overlays/qml/Bad.qml",
                   ("Timer {", "Timer{", "QtQuick.Timer {", "property real now: Date.now()",
                    "onClicked: began = new Date()", "onClicked: began = new Date",
                    "onClicked: setTimeout(go, 5)"))

    def test_the_listed_views_may_and_what_moves_is_fine(self):
        timer = "Timer {\n    interval: 5\n}\n"
        for name in ("Spinner", "controls/PressTip"):
            self.write(f"src/overlays/qml/{name}.qml", timer)
        self.write("src/overlays/qml/Fine.qml",
                   "// Timer { would be wrong here\n"
                   "Item {\n"
                   "    NumberAnimation on x { duration: 5 }\n"
                   "    SpinnerTimer { name: \"Timer {\" }\n"
                   "    property date told: new Date(2026, 1, 1)\n"
                   "}\n")
        self.assert_passes("check-clocks")
        self.write("src/overlays/qml/controls/Spinner.qml", timer)
        self.assert_finds("src/overlays/qml/controls/Spinner.qml:1: ", "check-clocks")

    def test_words_that_only_look_alike_pass(self):
        self.write("src/screen/Fine.cpp",
                   "#include <QTimer>\n"
                   "// QTimer would be wrong here\n"
                   "/* steady_clock::now() */\n"
                   'const char* name = "QTimer";\n'
                   "auto raw = R\"(QElapsedTimer)\";\n"
                   "auto big = 1'000'000; // 'a quote'\n"
                   "QCoro::Task<void> sleep(std::chrono::nanoseconds delay, std::stop_token stop);\n"
                   "auto elapsed = clock.now() - begin;\n"
                   "co_await clock->sleep(5s, stop);\n"
                   "sleep(5s);\n"
                   "using Instant = std::chrono::steady_clock::time_point;\n"
                   "Clock& clock();\n")
        self.assert_passes("check-clocks")

    def test_code_behind_a_comment_or_a_literal_still_counts(self):
        self.write("src/screen/Bad.cpp", 'auto text = "//"; QTimer timer; // fine\n')
        self.assert_finds("src/screen/Bad.cpp:1: a timer of Qt (QTimer)", "check-clocks")


if __name__ == "__main__":
    unittest.main()
