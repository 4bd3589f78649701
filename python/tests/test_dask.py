# qorcalc.dask on a local cluster of two worker processes, against
# `qorcalc report` on the same rows.  (A file of its own: the workers are
# spawned processes and import the test's functions from it.)
import os

import dask.dataframe as dd
import pandas as pd
import pytest
from distributed import Client, LocalCluster

import qorcalc
import qorcalc.dask
from conftest import tool_report
from test_table import FORMULAS, generated_rows, same


@pytest.fixture(scope="module")
def client():
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            Client(cluster) as c:
        yield c


def test_partitions_on_two_workers_match_report(client, tmp_path, tool):
    rows = generated_rows(20_000, seed=3)
    frame = dd.from_pandas(pd.DataFrame(rows), npartitions=8)
    formulas = {**FORMULAS, "worker": "pid()"}
    out = qorcalc.dask.apply(frame, formulas, functions={"pid": os.getpid}).compute()
    assert list(out.columns) == list(rows[0]) + list(formulas)
    assert list(out.index) == list(range(len(rows)))
    workers = set(out["worker"])
    assert len(workers) == 2 and os.getpid() not in workers       # both worker processes calculated
    report = tool_report(rows, FORMULAS, tmp_path)
    for column in FORMULAS:
        for value, record in zip(out[column], report):
            assert same(value, record[column]), (column, value, record[column])
    assert any(isinstance(v, qorcalc.FormulaError) for v in out["ratio"])


def test_same_as_evaluate_table(client):
    rows = pd.DataFrame(generated_rows(3000, seed=5))
    out = qorcalc.dask.apply(dd.from_pandas(rows, npartitions=5), FORMULAS).compute()
    expected = qorcalc.evaluate_table(FORMULAS, rows, jobs=2)
    for column in FORMULAS:
        assert out[column].tolist() == expected[column].tolist()


def test_bad_formula_fails_before_the_cluster_runs():
    frame = dd.from_pandas(pd.DataFrame({"a": [1, 2]}), npartitions=1)
    with pytest.raises(qorcalc.FormulaError) as error:
        qorcalc.dask.apply(frame, {"x": "a +"})
    assert error.value.id == 1003
