"""What the checks of the tree share: which files there are, and code without its comments."""

import pathlib
import re
import subprocess

CODE_SUFFIXES = {".h", ".cpp"}
VIEW_SUFFIXES = {".qml"}

# Literals first, so that a "//" inside one starts no comment.
_TOKENS = re.compile(
    r'R"(?P<mark>[^()\s\\]{0,16})\(.*?\)(?P=mark)"'
    r'|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'"
    r"|//[^\n]*"
    r"|/\*.*?\*/",
    re.DOTALL,
)


def code_files(root: pathlib.Path, suffixes: set[str] = CODE_SUFFIXES) -> list[pathlib.Path]:
    """The files that git knows or would add, relative to the root, in order of name; those of C++
    unless told."""
    command = ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others",
               "--exclude-standard"]
    listed = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    names = (pathlib.PurePosixPath(name) for name in listed.split("\0") if name)
    return sorted(pathlib.Path(name) for name in set(names)
                  if name.suffix in suffixes and (root / name).is_file())


def _blank(text: str) -> str:
    return re.sub(r"[^\n]", " ", text)


def without_comments(text: str) -> str:
    """The same text with comments blanked out; lines keep their numbers, literals stay."""
    def replacement(found: re.Match) -> str:
        token = found.group(0)
        return _blank(token) if token.startswith(("//", "/*")) else token
    return _TOKENS.sub(replacement, text)


def without_comments_and_literals(text: str) -> str:
    """The same text with comments and literals blanked out; lines keep their numbers."""
    return _TOKENS.sub(lambda found: _blank(found.group(0)), text)
