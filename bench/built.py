"""Building what is measured, and where it lies."""

import pathlib
import subprocess

TREE = pathlib.Path(__file__).resolve().parent.parent
BIN = TREE / "build/release/bin"


def build():
    for words in (
        ("tools/packages", "build", "bench"),
        ("cmake", "--preset", "bench", "--log-level=WARNING"),
        ("cmake", "--build", "--preset", "bench"),
    ):
        subprocess.run(words, cwd=TREE, check=True)
