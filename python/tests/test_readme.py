# The README's Python, Dask and SQLite examples run as written.
import os
import re
import subprocess

from conftest import SOURCE

README = (SOURCE / "README.md").read_text(encoding="utf-8")
SECTION = README[README.index("## Python, SQLite and Dask"):README.index("\n## Layout")]


def blocks(language):
    return re.findall(rf"```{language}\n(.*?)```", SECTION, re.S)


def test_python_examples_run():
    examples = blocks("python")
    assert len(examples) == 2
    for code in examples:
        run = subprocess.run(["/usr/bin/python3", "-c", code], capture_output=True, text=True, check=False)
        assert run.returncode == 0, run.stderr


def test_sqlite_example_prints_what_the_text_says():
    (script,) = blocks("sh")
    extension = os.environ.get("QORCALC_SQLITE_EXT", str(SOURCE / "build" / "sqlite" / "qorcalc"))
    script = script.replace("build/sqlite/qorcalc", extension)
    run = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=False)
    lines = run.stdout.splitlines()
    assert lines[0] == "8.03" and lines[1].startswith("error 1003: ")
