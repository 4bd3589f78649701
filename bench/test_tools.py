#!/usr/bin/python3
"""Checks of the bench's own tools: the verdicts of table.py and the data and
timing parsers of report_bench.py (make bench-check)."""
import csv
import datetime
import io
import os
import shutil
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import report_bench  # noqa: E402
import table  # noqa: E402


def run(name, cost, allocs=1.0, problem=None, label="f"):
    return table.Result(name, label, 1, cost, allocs, problem)


def status_of(rows, case, size):
    return next(row[-1] for row in rows if row[0] == case and row[1] == size)


class SmallFormulaVerdicts(unittest.TestCase):
    def test_goals(self):
        # (family, our cost, allocs, muParser cost, expected status)
        cases = [
            ("compile+calc", 100, 30, 1000, "met"),
            ("compile+calc", 101, 30, 1000, "MISSED"),
            ("clone+calc", 40, 5, 1000, "met"),
            ("clone+calc", 41, 5, 1000, "MISSED"),
            ("clone+calc", 10, 6, 1000, "MISSED"),
        ]
        for family, ours, allocs, theirs, want in cases:
            with self.subTest(family=family, ours=ours, allocs=allocs):
                rows = table.small_rows([run("small/%s/0" % family, ours, allocs),
                                         run("small/muparser/0", theirs)], "ns")
                self.assertEqual(rows[0][-1], want)

    def test_failed_case_shows_its_problem_not_a_verdict(self):
        rows = table.small_rows([run("small/clone+calc/0", None, problem="wrong result: got 1, expected 2"),
                                 run("small/muparser/0", 1000)], "ns")
        self.assertEqual(rows[0][-1], "wrong result: got 1, expected 2")


class GrowthVerdicts(unittest.TestCase):
    def growth(self, family, costs):
        return [run("growth/%s/%d" % (family, n), None if c is None else c * n,
                    problem=None if c is not None else "skipped: about 99 s")
                for n, c in zip((100, 1000, 10000, 100000), costs)]

    def test_spread(self):
        # (cost per term at each size, expected status)
        cases = [
            ([10, 12, 15, 20], "met"),
            ([10, 12, 15, 21], "MISSED"),
            ([20, 12, 15, 10], "met"),
            ([10, 12, 15, None], "MISSED (not every size ran)"),
        ]
        for costs, want in cases:
            with self.subTest(costs=costs):
                rows = table.growth_rows(self.growth("calls", costs), "ns")
                self.assertEqual(status_of(rows, "growth calls", "spread per term"), want)

    def test_nesting_has_no_flatness_goal(self):
        rows = table.growth_rows(self.growth("nesting", [1, 10, 100, 1000]), "ns")
        self.assertEqual(status_of(rows, "growth nesting", "spread per term"), "")

    def test_ten_thousand_names_in_ten_ms(self):
        for per_term, want in ((1000, "met"), (1001, "MISSED")):
            rows = table.growth_rows(self.growth("names", [per_term] * 4), "ns")
            self.assertEqual(status_of(rows, "growth names", "10,000 terms"), want)


class OneMegabyteVerdicts(unittest.TestCase):
    def test_only_the_full_size_can_meet_the_goal(self):
        # (cost in seconds of the last size run, or None when it was skipped)
        for last, want in ((1.9, "met"), (2.1, "MISSED"), (None, "MISSED (skipped: about 400 s)")):
            with self.subTest(last=last):
                runs = [run("1MB/calls/75000", 0.5e9),
                        run("1MB/calls/150000", None if last is None else last * 1e9,
                            problem=None if last is not None else "skipped: about 400 s")]
                rows = table.one_mb_rows(runs, "ns")
                self.assertEqual(rows[0][-1], want)
                self.assertEqual(rows[0][1], "{:,} of 150,000 terms".format(150000 if last else 75000))


class CallgrindDumps(unittest.TestCase):
    def test_each_dump_is_read_under_its_case(self):
        dump = ("desc: Trigger: Client Request: small/compile+calc/0\n"
                "events: Ir\nsummary: 300217\ntotals: 300217\n")
        path = os.path.join(self.tmp(), "callgrind.out.1")
        with open(path, "w") as f:
            f.write(dump)
        self.assertEqual(table.parse_dumps([path]), {"small/compile+calc/0": 300217})
        results = table.counted_results(["small/compile+calc/0\t20\t18.00\t1\t1+2", "growth/calls/100000\tskip\tno"],
                                        {"small/compile+calc/0": 300217})
        self.assertAlmostEqual(results[0].cost, 300217 / 20)
        self.assertEqual(results[1].terms, 100000)
        self.assertEqual(results[1].problem, "no")

    def tmp(self):
        d = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, d)
        return d


class ReportData(unittest.TestCase):
    def test_same_records_every_time(self):
        first, second = io.StringIO(), io.StringIO()
        report_bench.write_data(500, first)
        report_bench.write_data(500, second)
        self.assertEqual(first.getvalue(), second.getvalue())

    def test_fields_the_formulas_read(self):
        out = io.StringIO()
        report_bench.write_data(2000, out)
        rows = list(csv.DictReader(io.StringIO(out.getvalue())))
        self.assertEqual(len(rows), 2000)
        self.assertTrue(any("," in r["customer"] for r in rows), "a quoted comma must occur")
        for r in rows:
            float(r["price"]), int(r["qty"]), float(r["discount"])
            ordered = datetime.date.fromisoformat(r["ordered"])
            self.assertLessEqual(ordered, datetime.date.fromisoformat(r["shipped"]))

    def test_gnu_time(self):
        # (elapsed field, peak kbytes, seconds, megabytes)
        cases = [("0:02.50", 40960, 2.5, 40.0), ("1:02:03", 1024, 3723.0, 1.0), ("12:00.00", 2048, 720.0, 2.0)]
        for elapsed, kbytes, seconds, megabytes in cases:
            text = ("\tElapsed (wall clock) time (h:mm:ss or m:ss): %s\n"
                    "\tMaximum resident set size (kbytes): %d\n" % (elapsed, kbytes))
            self.assertEqual(report_bench.gnu_time(text), (seconds, megabytes))
        with self.assertRaises(ValueError):
            report_bench.gnu_time("Command terminated by signal 9\n")


if __name__ == "__main__":
    unittest.main()
