# evaluate_table against `qorcalc report` on the same rows: same values,
# same error ids, whatever the number of jobs and the shape of the rows.
import collections.abc
import decimal
import random

import pandas as pd
import pytest

import qorcalc
from conftest import tool_report

FORMULAS = {
    "amount": "round(qty * price * (1 - discount), 2)",
    "band": "if(amount > 1000, 'large', if(qty = 0, 'none', 'small'))",
    "key": "toUpperCase(left(customer, 3)) + '-' + code",
    "ratio": "qty / divisor",
    "note": "customer + ' #' + code",
}


def generated_rows(count, seed=7):
    rng = random.Random(seed)
    names = ["Lin Wei", "Acme Ltd", "Zhou", "O'Brien & Co", "中文公司", ""]
    return [{
        "code": rng.choice(["A", "B", "007", "12"]) + str(i),
        "customer": rng.choice(names),
        "qty": rng.randint(0, 400),
        "price": round(rng.uniform(0, 90), 2),
        "discount": rng.choice([0, 0.05, 0.125]),
        "divisor": rng.choice([1, 4, "x"]),
    } for i in range(count)]


def same(value, report_cell):
    """Whether a cell of ours says what report's cell says."""
    if isinstance(value, qorcalc.FormulaError):
        return isinstance(report_cell, dict) and report_cell["error"]["id"] == value.id \
            and report_cell["error"]["message"] == value.message
    if isinstance(value, str):
        return value == report_cell
    return isinstance(report_cell, str) and float(report_cell) == value


@pytest.mark.parametrize("jobs", [1, 3])
def test_rows_as_dicts_match_report(jobs, tmp_path, tool):
    rows = generated_rows(1500)
    ours = qorcalc.evaluate_table(FORMULAS, rows, jobs=jobs)
    theirs = tool_report(rows, FORMULAS, tmp_path)
    assert len(ours) == len(theirs) == len(rows)
    failures = 0
    for row, mine, report in zip(rows, ours, theirs):
        assert {k: mine[k] for k in row} == row            # the fields come back untouched
        for column in FORMULAS:
            assert same(mine[column], report[column]), (column, row, mine[column], report[column])
            failures += isinstance(mine[column], qorcalc.FormulaError)
    assert 0 < failures < len(rows) * len(FORMULAS)       # the data does exercise failures


def test_dataframe_matches_list_of_dicts():
    rows = generated_rows(400)
    frame = pd.DataFrame(rows)
    out = qorcalc.evaluate_table(FORMULAS, frame, jobs=2)
    assert list(out.columns) == list(frame.columns) + list(FORMULAS)
    assert out.index.equals(frame.index) and "amount" not in frame.columns
    expected = qorcalc.evaluate_table(FORMULAS, rows)
    for column in FORMULAS:
        assert out[column].tolist() == [row[column] for row in expected]


def test_missing_fields_are_empty():
    rows = [{"a": 1, "s": "x"}, {"a": None}, {"s": float("nan")}]
    frame = pd.DataFrame({"a": [1.5, float("nan")], "s": ["x", None]})
    formulas = [("t", "s + '|'"), ("n", "a + 0")]
    out = qorcalc.evaluate_table(formulas, rows)
    assert [row["t"] for row in out] == ["x|", "|", "|"]
    assert out[0]["n"] == 1
    table = qorcalc.evaluate_table(formulas, frame)
    assert table["t"].tolist() == ["x|", "|"] and table["n"][0] == 1.5


def test_fields_read_as_numbers_when_they_are_numbers():
    out = qorcalc.evaluate_table({"sum": "a + b"}, [{"a": "2", "b": 3}, {"a": "0.5", "b": "1.5"}])
    assert [row["sum"] for row in out] == [5, 2]


def test_columns_use_earlier_columns_not_later_or_last_rows():
    out = qorcalc.evaluate_table([("x", "n * 2"), ("y", "x + 1")], [{"n": 1}, {"n": 5}])
    assert [(r["x"], r["y"]) for r in out] == [(2, 3), (10, 11)]
    out = qorcalc.evaluate_table([("y", "x + 1"), ("x", "n * 2")], [{"n": 1}, {"n": 5}])
    assert all(isinstance(r["y"], qorcalc.FormulaError) and r["y"].id == 2000 for r in out)
    failed = qorcalc.evaluate_table([("x", "n / 0"), ("y", "x + 1")], [{"n": 1}])[0]
    if isinstance(failed["x"], qorcalc.FormulaError):
        assert failed["y"].id == 2006


def test_bad_formula_raises_before_any_row():
    with pytest.raises(qorcalc.FormulaError) as error:
        qorcalc.evaluate_table({"a": "1 +"}, [{"n": 1}])
    assert error.value.position >= 0
    with pytest.raises(ValueError):
        qorcalc.evaluate_table({"a": "1"}, [{"n": 1}], jobs=0)


def test_host_functions_in_tables_run_on_every_thread():
    rows = [{"n": i} for i in range(3000)]
    out = qorcalc.evaluate_table({"t": "twice(n)"}, rows, jobs=3, functions={"twice": lambda x: x * 2})
    assert [row["t"] for row in out] == [2 * i for i in range(3000)]


def test_empty_tables():
    assert qorcalc.evaluate_table({"a": "1"}, []) == []
    assert len(qorcalc.evaluate_table({"a": "1"}, pd.DataFrame({"x": []}), jobs=4)) == 0


class Record(collections.abc.Mapping):
    """A row that is a mapping but no dict."""

    def __init__(self, **fields):
        self._fields = fields

    def __getitem__(self, key):
        return self._fields[key]

    def __iter__(self):
        return iter(self._fields)

    def __len__(self):
        return len(self._fields)


# Each field value as a list of dicts and as a DataFrame column gives the
# same cell as one name given to evaluate_text: numbers past 64 bits, bools,
# texts that read as numbers, other objects by their str().
@pytest.mark.parametrize("value, formula, expected", [
    (2 ** 70, "v + ''", str(2 ** 70)),
    (-2 ** 63, "v * 1", -2 ** 63),
    (True, "v + 1", 2),
    (0.1, "v * 3", 0.3),
    ("12", "v * 2", 24),
    ("中文", "v + '!'", "中文!"),
    (decimal.Decimal("1.25"), "v * 2", 2.5),
    (None, "v + 'x'", "x"),
])
def test_field_values_of_every_type(value, formula, expected):
    (row,) = qorcalc.evaluate_table({"out": formula}, [{"v": value}])
    assert row["out"] == expected and type(row["out"]) is type(expected)
    assert row["v"] is value
    (frame_value,) = qorcalc.evaluate_table({"out": formula}, pd.DataFrame({"v": [value]}))["out"]
    assert frame_value == expected


def test_results_past_64_bits_stay_exact_integers():
    (row,) = qorcalc.evaluate_table({"big": "n * 1000"}, [{"n": 2 ** 62}])
    assert row["big"] == 2 ** 62 * 1000 and isinstance(row["big"], int)


@pytest.mark.parametrize("rows, expected", [
    # Keys in other orders, keys only some rows have, other mappings, a generator.
    ([{"a": 1, "b": 2}, {"b": 20, "a": 10}, {"a": 5}], [3, 30, -1]),
    ([Record(a=1, b=2), {"a": 3, "b": 4}], [3, 7]),
    ((dict(a=i, b=1) for i in range(3)), [1, 2, 3]),
])
def test_rows_of_any_shape(rows, expected):
    out = qorcalc.evaluate_table({"s": "if(b = '', -1, a + b)"}, rows, jobs=2)
    assert [row["s"] for row in out] == expected
    assert all(type(row) is dict for row in out)


def test_keys_that_are_not_text_name_their_column_by_str():
    out = qorcalc.evaluate_table({"s": "_1 + 1"}, [{"_1": 1, 2: "x"}])
    assert out == [{"_1": 1, 2: "x", "s": 2}]


def test_unusable_fields_are_refused():
    with pytest.raises(ValueError):
        qorcalc.evaluate_table({"s": "v"}, [{"v": float("inf")}])


def test_rows_are_not_changed_and_results_are_new_dicts():
    rows = [{"n": 1}, {"n": 2}]
    out = qorcalc.evaluate_table({"d": "n * 2"}, rows, jobs=2)
    assert rows == [{"n": 1}, {"n": 2}]
    assert out == [{"n": 1, "d": 2}, {"n": 2, "d": 4}]
    assert qorcalc.evaluate_table([], rows) == rows
