# The SQLite extension driven through the sqlite3 shell, as a user runs it:
# the shared cases, the mapping of SQL values, errors as SQL errors, and a
# database file of 100,000 rows against `qorcalc report` on the same rows.
import csv
import json
import os
import random
import subprocess

import pytest

from conftest import SOURCE, case_id, shared_cases, tool_report

EXTENSION = os.environ.get("QORCALC_SQLITE_EXT", str(SOURCE / "build" / "sqlite" / "qorcalc"))


def sql_literal(value):
    if value is None:
        return "NULL"
    if isinstance(value, str):
        return "'" + value.replace("'", "''") + "'"
    return repr(value)


def call(function, formula, names):
    args = [sql_literal(formula)]
    for name, value in names.items():
        args += [sql_literal(name), sql_literal(value)]
    return f"{function}({', '.join(args)})"


def shell(script, database=":memory:", mode="-json"):
    """Runs `script` in the sqlite3 shell with the extension loaded."""
    run = subprocess.run(["sqlite3", mode, "-cmd", f".load {EXTENSION}", str(database)],
                         input=script, capture_output=True, text=True, check=False, timeout=600)
    return run.stdout, run.stderr


def query(sql):
    out, err = shell(sql + ";\n")
    return (json.loads(out) if out.strip() else []), err


@pytest.mark.parametrize("case", shared_cases(), ids=case_id)
def test_shared_cases(case):
    rows, err = query(f"SELECT {call('qorcalc_error', case['formula'], case['names'])} AS e")
    assert err == ""
    if "error" in case:
        assert rows[0]["e"].startswith(f"error {case['error']}: ")
        _, err = query(f"SELECT {call('qorcalc', case['formula'], case['names'])}")
        assert f"error {case['error']}: " in err             # a SQL error, with the engine's text
        return
    assert rows[0]["e"] is None
    rows, err = query(f"SELECT {call('qorcalc', case['formula'], case['names'])} AS v")
    assert err == ""
    value = rows[0]["v"]
    if case["kind"] == "number":
        assert isinstance(value, (int, float)) and value == float(case["value"])
    else:
        assert value == case["value"]


@pytest.mark.parametrize("expression, expected", [
    ("qorcalc('a + 1', 'a', 41)", (42, "integer")),
    ("qorcalc('a * 2', 'a', 1.25)", (2.5, "real")),
    ("qorcalc('left(a, 2)', 'a', '12345')", ("12", "text")),      # TEXT stays a text
    ("qorcalc('a + ''|''', 'a', NULL)", ("|", "text")),           # NULL is an empty text
    ("qorcalc(NULL, 'a', 1)", (None, "null")),                      # no formula, no value
    ("qorcalc('1 + 2')", (3, "integer")),
    ("qorcalc('A * b', 'a', 2, 'B', 3)", (6, "integer")),          # names ignore ASCII case
    ("qorcalc('7 / 2')", (3.5, "real")),
    ("qorcalc_error('7 / 2')", (None, "null")),
])
def test_sql_values_map_as_documented(expression, expected):
    rows, err = query(f"SELECT {expression} AS v, typeof({expression}) AS t")
    assert err == ""
    assert (rows[0]["v"], rows[0]["t"]) == expected


@pytest.mark.parametrize("expression, message", [
    ("qorcalc('a', 'a')", "every name needs a value"),
    ("qorcalc('a', 1, 2)", "must be a name"),
    ("qorcalc('1 +')", "error 1003: "),
    ("qorcalc('a', 'a', 1e999)", "not a finite number"),
])
def test_misuse_is_a_sql_error_not_a_crash(expression, message):
    out, err = shell(f"SELECT {expression};\nSELECT 'alive' AS still;\n")
    assert message in err
    assert json.loads(out) == [{"still": "alive"}]


def test_formula_from_a_column_changes_per_row():
    rows, err = query("WITH t(f, x) AS (VALUES ('x + 1', 1), ('x * 10', 2), ('x +', 3)) "
                      "SELECT qorcalc_error(f, 'x', x) AS e, "
                      "CASE WHEN qorcalc_error(f, 'x', x) IS NULL THEN qorcalc(f, 'x', x) END AS v FROM t")
    assert err == ""
    assert [r["v"] for r in rows] == [2, 20, None]
    assert rows[2]["e"].startswith("error 1003: ")


FORMULAS = {
    "amount": "round(qty * price * (1 - discount), 2)",
    "key": "toUpperCase(left(customer, 3)) + '-' + code",
    "ratio": "qty / divisor",
    "note": "customer + ' #' + code",
}
FIELDS = ["code", "customer", "qty", "price", "discount", "divisor"]


def generated_rows(count, seed=11):
    rng = random.Random(seed)
    names = ["Lin Wei", "Acme Ltd", "Zhou", "O'Brien & Co", "中文公司", ""]
    return [{"code": rng.choice(["A", "B", "C"]) + str(i), "customer": rng.choice(names),
             "qty": rng.randint(0, 400), "price": round(rng.uniform(0, 90), 2),
             "discount": rng.choice([0, 0.05, 0.125]), "divisor": rng.choice([1, 4, "x"])}
            for i in range(count)]


def test_database_of_100000_rows_matches_report(tmp_path):
    rows = generated_rows(100_000)
    report = tool_report(rows, FORMULAS, tmp_path, jobs=2)
    database = tmp_path / "orders.db"
    shell(f"CREATE TABLE orders(code TEXT, customer TEXT, qty INTEGER, price REAL, discount REAL, divisor);\n"
          f".import --csv --skip 1 {tmp_path / 'data.csv'} orders\n", database, mode="-csv")
    names = ", ".join(f"'{f}', {f}" for f in FIELDS)
    # The error text where the row fails, else the value: as report writes a cell.
    columns = ", ".join(f"coalesce(qorcalc_error({sql_literal(f)}, {names}), qorcalc({sql_literal(f)}, {names}))"
                        for f in FORMULAS.values())
    out, err = shell(f"SELECT count(*) FROM orders;\nSELECT {columns} FROM orders ORDER BY rowid;\n",
                     database, mode="-csv")
    assert err == ""
    lines = list(csv.reader(out.splitlines()))
    assert lines[0] == ["100000"]
    assert len(lines) - 1 == len(report) == 100_000
    failures = 0
    for sql_row, report_row in zip(lines[1:], report):
        for cell, column in zip(sql_row, FORMULAS):
            expected = report_row[column]
            if isinstance(expected, dict):
                failures += 1
                assert cell == f"error {expected['error']['id']}: {expected['error']['message']}"
            elif cell != expected:
                assert float(cell) == float(expected), (column, sql_row, report_row)
    assert 0 < failures < 100_000
