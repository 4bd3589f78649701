# Shared by the suites: the shared table of cases, the qorcalc tool and
# helpers that run it as a user does.
import csv
import decimal
import json
import os
import pathlib
import subprocess

import pytest

SOURCE = pathlib.Path(os.environ.get("QORCALC_SOURCE", pathlib.Path(__file__).resolve().parents[2]))
TOOL = os.environ.get("QORCALC_TOOL", str(SOURCE / "build" / "cli" / "qorcalc"))


def shared_cases():
    with open(SOURCE / "tests" / "frontends" / "cases.json", encoding="utf-8") as f:
        return json.load(f)


def case_id(case):
    return f"{case['formula']} {case['names']}"


def plain(number):
    """A number as a user types it: plain decimals, no exponent."""
    return format(decimal.Decimal(repr(number)), "f")


def tool_eval(formula, names):
    """`qorcalc eval --json` for one formula: numbers given as written,
    texts quoted, as a user types them."""
    args = [TOOL, "eval", "--json"]
    for name, value in names.items():
        args += ["--var", f"{name}={value!r}" if isinstance(value, str) else f"{name}={plain(value)}"]
    out = subprocess.run(args + ["--", formula], capture_output=True, text=True, check=False).stdout
    return json.loads(out.splitlines()[0])


def tool_report(rows, formulas, tmp_path, jobs=1):
    """`qorcalc report --json` over rows written as CSV; one dict per record."""
    data = tmp_path / "data.csv"
    with open(data, "w", newline="", encoding="utf-8") as f:
        writer = csv.DictWriter(f, fieldnames=list(rows[0]))
        writer.writeheader()
        writer.writerows(rows)
    lines = tmp_path / "formulas.txt"
    lines.write_text("".join(f"{name} = {formula}\n" for name, formula in formulas.items()), encoding="utf-8")
    run = subprocess.run([TOOL, "report", "--json", "--jobs", str(jobs), str(data), str(lines)],
                         capture_output=True, text=True, check=False)
    return [json.loads(line) for line in run.stdout.splitlines()]


@pytest.fixture(scope="session")
def tool():
    if not os.path.exists(TOOL):
        pytest.fail(f"the qorcalc tool is not built at {TOOL}")
    return TOOL
