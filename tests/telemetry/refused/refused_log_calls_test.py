"""Compiles log calls that must be refused, and a control that must not.

    refused_log_calls_test.py COMPILER OPTION...
"""

import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
COMMAND: list[str] = []


def compile_file(name: str) -> subprocess.CompletedProcess:
    return subprocess.run([*COMMAND, "-fsyntax-only", "-fmax-errors=0", str(HERE / name)],
                          capture_output=True, text=True, check=False,
                          env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"})


def complaints_by_line(output: str, name: str) -> dict[int, str]:
    """What the compiler said about each line of the file, with what it said on the way there."""
    found: dict[int, str] = {}
    output = re.sub(r"^(?:In file included| +) ?from .*\n", "", output, flags=re.MULTILINE)
    # A diagnostic is a block that begins where the indentation and the notes of the last one end.
    blocks = re.split(r"\n(?=\S+: (?:In |error:)|\S+:\d+:\d+: error:)", output)
    for index, block in enumerate(blocks):
        for line in re.findall(rf"{re.escape(name)}:(\d+):", block):
            following = blocks[index + 1] if index + 1 < len(blocks) else ""
            found[int(line)] = found.get(int(line), "") + block + following
    return found


class RefusedLogCallsTest(unittest.TestCase):
    def test_the_control_compiles(self):
        done = compile_file("AcceptedLogCalls.cpp")
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_every_tagged_call_is_refused_for_its_reason(self):
        name = "RefusedLogCalls.cpp"
        done = compile_file(name)
        self.assertNotEqual(done.returncode, 0)
        complaints = complaints_by_line(done.stderr, name)
        lines = (HERE / name).read_text(encoding="utf-8").splitlines()
        tagged = {number: line.split("// refused: ")[1]
                  for number, line in enumerate(lines, start=1) if "// refused: " in line}
        self.assertGreaterEqual(len(tagged), 28)
        for number, reason in tagged.items():
            with self.subTest(lines[number - 1].strip()):
                self.assertIn(reason, complaints.get(number, "nothing"))
        # Nothing else may be wrong with the file, or the tags would prove nothing.
        for number in complaints:
            with self.subTest(lines[number - 1].strip()):
                self.assertIn(number, tagged)


if __name__ == "__main__":
    COMMAND = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
