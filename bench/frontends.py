#!/usr/bin/python3
"""Front-end figures (a benchmark, not a test):
  evaluate_table with jobs=1 and jobs=2 on generated rows, 8 formulas;
  the SQLite function against `qorcalc report` on the same 100,000 rows.
Run from the source tree after `make build`:
  PYTHONPATH=build/python /usr/bin/python3 bench/frontends.py [rows] [--repeat N] [--table-only]

Each evaluate_table line gives the wall-clock speed-up of jobs=2 over jobs=1
and, beside it, the speed-up in CPU time of the busiest thread: the calling
thread (all the work that holds the GIL and its share of the calculation) or
the other threads together.  On two otherwise idle cores that is about what
the wall clock would be, and it stays meaningful when other work shares the
machine.  Last on the line, `qorcalc report` --jobs 1 against --jobs 2 on
the same rows (no Python at all) shows what the machine gave a second thread
at the time."""
import argparse
import csv
import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import qorcalc

FORMULAS = {
    "amount": "round(qty * price * (1 - discount), 2)",
    "gross": "qty * price",
    "band": "if(amount > 1000, 'large', if(qty = 0, 'none', 'small'))",
    "key": "toUpperCase(left(customer, 3)) + '-' + code",
    "net": "amount - gross * 0.1",
    "half": "round(amount / 2, 1)",
    "note": "customer + ' #' + code",
    "flag": "if(discount > 0, 'discounted', 'full')",
}
SQL_FORMULAS = ["round(qty * price * (1 - discount), 2)", "qty * price",
                "toUpperCase(left(customer, 3)) + '-' + code", "customer + ' #' + code"]


def rows(count):
    rng = random.Random(1)
    return [{"code": f"C{i}", "customer": rng.choice(["Lin Wei", "Acme Ltd", "Zhou"]),
             "qty": rng.randint(0, 400), "price": round(rng.uniform(0, 90), 2),
             "discount": rng.choice([0, 0.05, 0.125])} for i in range(count)]


def timed(run):
    start = time.perf_counter()
    run()
    return time.perf_counter() - start


def timed_both(run):
    """Wall-clock seconds of `run` and the CPU seconds of its busiest thread:
    the calling one, or all the others together."""
    wall, mine, process = time.perf_counter(), time.thread_time(), time.process_time()
    run()
    mine, process = time.thread_time() - mine, time.process_time() - process
    return time.perf_counter() - wall, max(mine, process - mine)


def write_csv(data, path):
    with open(path, "w", newline="") as f:
        writer = csv.DictWriter(f, fieldnames=list(data[0]))
        writer.writeheader()
        writer.writerows(data)


def report_seconds(data_path, formulas_path, jobs):
    return timed(lambda: subprocess.run(["build/cli/qorcalc", "report", "--csv", "--jobs", str(jobs), str(data_path),
                                         str(formulas_path)], check=True, stdout=subprocess.DEVNULL))


def table(count, work, repeat=1):
    """evaluate_table jobs=1 against jobs=2; beside it, as the peer that
    shows what the machine gives a second thread at the time, `qorcalc
    report` with --jobs 1 against --jobs 2 on the same rows."""
    data = rows(count)
    write_csv(data, work / "table.csv")
    (work / "table.txt").write_text("".join(f"{name} = {f}\n" for name, f in FORMULAS.items()))
    for _ in range(repeat):
        one = timed_both(lambda: qorcalc.evaluate_table(FORMULAS, data, jobs=1))
        two = timed_both(lambda: qorcalc.evaluate_table(FORMULAS, data, jobs=2))
        peer = [report_seconds(work / "table.csv", work / "table.txt", jobs) for jobs in (1, 2)]
        print(f"evaluate_table {count} rows x {len(FORMULAS)} formulas: jobs=1 {one[0]:.2f} s, "
              f"jobs=2 {two[0]:.2f} s, speed-up {one[0] / two[0]:.2f}; "
              f"busiest thread's CPU {one[1]:.2f} s / {two[1]:.2f} s, speed-up {one[1] / two[1]:.2f}; "
              f"qorcalc report --jobs 1/2 {peer[0]:.2f} s / {peer[1]:.2f} s, speed-up {peer[0] / peer[1]:.2f}",
              flush=True)


def sqlite_vs_report(count, work):
    data = rows(count)
    path = work / "data.csv"
    write_csv(data, path)
    (work / "f.txt").write_text("".join(f"c{i} = {f}\n" for i, f in enumerate(SQL_FORMULAS)))
    db = work / "data.db"
    subprocess.run(["sqlite3", str(db)], check=True, text=True, input=
                   "CREATE TABLE t(code TEXT, customer TEXT, qty INTEGER, price REAL, discount REAL);\n"
                   f".import --csv --skip 1 {path} t\n")
    names = ", ".join(f"'{n}', {n}" for n in data[0])
    select = ", ".join("qorcalc('" + f.replace("'", "''") + f"', {names})" for f in SQL_FORMULAS)
    sql = timed(lambda: subprocess.run(["sqlite3", "-cmd", ".load build/sqlite/qorcalc", str(db)], check=True,
                                       input=f"SELECT {select} FROM t;\n", text=True, stdout=subprocess.DEVNULL))
    report = report_seconds(path, work / "f.txt", 1)
    print(f"{count} rows x {len(SQL_FORMULAS)} formulas: sqlite3 {sql:.2f} s, qorcalc report {report:.2f} s, "
          f"ratio {sql / report:.2f}")


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("rows", nargs="?", type=int, default=1_000_000)
    parser.add_argument("--repeat", type=int, default=1, help="evaluate_table pairs of runs")
    parser.add_argument("--table-only", action="store_true", help="leave out the SQLite comparison")
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as work:
        table(args.rows, Path(work), args.repeat)
        if not args.table_only:
            sqlite_vs_report(100_000, Path(work))
