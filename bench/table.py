#!/usr/bin/python3
"""Runs the speed record and prints it as one table, the goals beside it.

  table.py time  BENCH [google benchmark flags]   CPU time per run (make bench)
  table.py instr BENCH [NAME PART]                instructions per run under
                                                  callgrind (make bench-instr),
                                                  of the cases whose name
                                                  contains NAME PART

BENCH is the qorcalc_bench program.  Both modes print the same rows: the six
small formulas (compile+calculate, clone+calculate, and clone+calculate as
qorcalc report runs it, each against muParser's SetExpr+Eval in the same
run), one formula per built-in family,
the cost per term of growing formulas, and the formulas of 1 MB.
"""
import datetime
import glob
import json
import os
import platform
import re
import subprocess
import sys
import tempfile

# The goals of the speed work, each against muParser's SetExpr+Eval.
COMPILE_RATIO = 0.10
CLONE_RATIO = 0.04
CLONE_ALLOCS = 5
FLAT_SPREAD = 2.0        # cost per term, largest over smallest, of these:
FLAT_FAMILIES = ("chain", "calls", "groups", "names")
NAMES_10K_SECONDS = 0.010
ONE_MB_SECONDS = 2.0


class Result:
    """One case: its cost per run (ns or instructions), or why it has none."""

    def __init__(self, name, label, terms, cost=None, allocs=None, problem=None):
        parts = name.split("/")
        self.group, self.family, self.key = parts[0], parts[1], parts[2]
        # A skipped run reports no counters; the size of a growing formula is
        # also the last part of its name.
        self.terms = int(self.key) if self.key.isdigit() else int(terms)
        self.name, self.label = name, label
        self.cost, self.allocs, self.problem = cost, allocs, problem


def machine():
    model = platform.processor() or "unknown processor"
    try:
        with open("/proc/cpuinfo") as f:
            model = next(line.split(":", 1)[1].strip() for line in f if line.startswith("model name"))
    except (OSError, StopIteration):
        pass
    return "%s, %d cores, %s" % (model, os.cpu_count() or 0, platform.platform(terse=True))


def load():
    try:
        with open("/proc/loadavg") as f:
            return " ".join(f.read().split()[:3])
    except OSError:
        return "unknown"


def progress(text):
    if sys.stderr.isatty():
        sys.stderr.write("\r\033[K" + text[:100])
        sys.stderr.flush()


# ---------------------------------------------------------------------------
# Running

def run_timed(bench, flags):
    """Google Benchmark's JSON of one run, with console lines as progress."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        proc = subprocess.Popen([bench, "--benchmark_out=" + out.name, "--benchmark_out_format=json"] + flags,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for line in proc.stdout:
            progress("bench: " + line.strip())
        progress("")
        stderr = proc.stderr.read()
        if proc.wait() != 0:
            sys.exit("table.py: %s failed with status %d\n%s" % (bench, proc.returncode, stderr))
        with open(out.name) as f:
            return json.load(f)


def timed_results(report):
    results = []
    scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    for run in report["benchmarks"]:
        problem = run.get("error_message") if run.get("error_occurred") else None
        cost = None if problem else run["cpu_time"] * scale[run["time_unit"]]
        results.append(Result(run["run_name"] if "run_name" in run else run["name"], run.get("label", ""),
                              run.get("terms", 1), cost, run.get("allocs"), problem))
    return results


def run_counted(bench, flags):
    """Instruction counts per run from one callgrind run of `bench --instr`."""
    with tempfile.TemporaryDirectory() as work:
        out = os.path.join(work, "callgrind.out")
        proc = subprocess.Popen(["valgrind", "--tool=callgrind", "--collect-atstart=no", "--callgrind-out-file=" + out,
                                 bench, "--instr"] + flags[:1], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        lines = []
        for line in proc.stdout:
            lines.append(line.rstrip("\n"))
            progress("callgrind: " + line.split("\t")[0])
        progress("")
        stderr = proc.stderr.read()
        if proc.wait() != 0:
            sys.exit("table.py: callgrind run failed:\n" + stderr)
        return lines, parse_dumps(glob.glob(out + "*"))


TRIGGER = "desc: Trigger: Client Request: "


def parse_dumps(paths):
    """Maps the name of each dump (the case) to its instruction total."""
    counts = {}
    for path in paths:
        name = total = None
        with open(path) as f:
            for line in f:
                if line.startswith(TRIGGER):
                    name = line[len(TRIGGER):].strip()
                elif line.startswith(("totals:", "summary:")):
                    total = int(line.split()[1])
        if name is not None and total is not None:
            counts[name] = total
    return counts


def counted_results(lines, counts):
    results = []
    for line in lines:
        fields = line.split("\t")
        if fields[1] == "skip":
            results.append(Result(fields[0], "", 1, problem=fields[2]))
            continue
        name, iterations, allocs, terms, label = fields
        total = counts.get(name)
        cost = total / int(iterations) if total is not None else None
        results.append(Result(name, label, terms, cost, float(allocs),
                              None if total is not None else "no callgrind dump"))
    return results


# ---------------------------------------------------------------------------
# The table

def amount(cost, unit):
    if cost is None:
        return "-"
    if unit == "ns" and cost >= 1e6:
        return "%.2f s" % (cost / 1e9) if cost >= 1e8 else "%.2f ms" % (cost / 1e6)
    return "{:,.0f}".format(cost) if cost >= 100 else "%.1f" % cost


def verdict(ok):
    return "met" if ok else "MISSED"


def small_rows(results, unit):
    theirs = {r.key: r for r in results if r.group == "small" and r.family == "muparser"}
    rows = []
    for r in results:
        if r.group != "small" or r.family == "muparser":
            continue
        mu = theirs.get(r.key)
        cloned = r.family in ("clone+calc", "reuse+calc")
        goal_ratio = CLONE_RATIO if cloned else COMPILE_RATIO
        goal = "ratio <= %.2f" % goal_ratio
        if cloned:
            goal += ", allocs <= %d" % CLONE_ALLOCS
        if r.problem or not mu or mu.cost is None:
            rows.append([r.family, r.label, amount(r.cost, unit), amount(mu.cost if mu else None, unit), "-",
                         allocs_text(r), goal, r.problem or "no muParser in this build"])
            continue
        ratio = r.cost / mu.cost
        ok = ratio <= goal_ratio and (not cloned or (r.allocs or 0) <= CLONE_ALLOCS)
        rows.append([r.family, r.label, amount(r.cost, unit), amount(mu.cost, unit), "%.3f" % ratio, allocs_text(r),
                     goal, verdict(ok)])
    return rows


def allocs_text(r):
    return "-" if r.allocs is None else ("%.0f" % r.allocs if abs(r.allocs - round(r.allocs)) < 0.05 else "%.2f" % r.allocs)


def builtin_rows(results, unit):
    return [["builtin " + r.family, r.label, amount(r.cost, unit), "-", "-", allocs_text(r), "", r.problem or ""]
            for r in results if r.group == "builtin"]


def spread(runs):
    per_term = [r.cost / r.terms for r in runs if r.cost is not None]
    return max(per_term) / min(per_term) if per_term else None


def by_family(results, group):
    """The runs of each family of `group`, in the order they ran."""
    families = {}
    for r in results:
        if r.group == group:
            families.setdefault(r.family, []).append(r)
    return families.items()


def growth_rows(results, unit):
    rows = []
    for family, runs in by_family(results, "growth"):
        for r in runs:
            per_term = None if r.cost is None else r.cost / r.terms
            goal, status = "", r.problem or ""
            if family == "names" and r.terms == 10000 and unit == "ns":
                goal = "under %d ms in all" % (NAMES_10K_SECONDS * 1e3)
                status = r.problem or verdict(r.cost <= NAMES_10K_SECONDS * 1e9)
            rows.append(["growth " + family, "{:,} terms".format(r.terms), amount(per_term, unit) + "/term", "-", "-",
                         allocs_text(r), goal, status])
        s = spread(runs)
        goal = note = ""
        if family in FLAT_FAMILIES:
            complete = all(r.cost is not None for r in runs)
            goal = "<= %.0f, all sizes" % FLAT_SPREAD
            note = verdict(s is not None and s <= FLAT_SPREAD and complete)
            if not complete:
                note += " (not every size ran)"
        rows.append(["growth " + family, "spread per term", "-" if s is None else "%.2f" % s, "-", "-", "-", goal, note])
    return rows


def one_mb_rows(results, unit):
    rows = []
    for family, runs in by_family(results, "1MB"):
        full = runs[-1]
        measured = [r for r in runs if r.cost is not None]
        largest = measured[-1] if measured else None
        size = "{:,} of {:,} terms".format(largest.terms if largest else 0, full.terms)
        if unit != "ns":
            rows.append(["1 MB " + family, size, amount(largest.cost if largest else None, unit), "-", "-",
                         allocs_text(largest) if largest else "-", "", "" if full.cost is not None else "stopped early"])
            continue
        goal = "full size under %.0f s" % ONE_MB_SECONDS
        if full.cost is not None:
            status = verdict(full.cost <= ONE_MB_SECONDS * 1e9)
        else:
            status = "MISSED (%s)" % (full.problem or "not run")
        rows.append(["1 MB " + family, size, amount(largest.cost if largest else None, unit), "-", "-",
                     allocs_text(largest) if largest else "-", goal, status])
    return rows


def render(rows, header):
    widths = [max(len(str(row[k])) for row in rows + [header]) for k in range(len(header))]
    right = {2, 3, 4, 5}
    lines = []
    for row in [header] + rows:
        cells = [str(c).rjust(w) if k in right else str(c).ljust(w) for k, (c, w) in enumerate(zip(row, widths))]
        lines.append("  ".join(cells).rstrip())
    lines.insert(1, "  ".join("-" * w for w in widths))
    return "\n".join(lines)


def table(results, unit):
    header = ["case", "formula / size", "ours " + unit, "muParser " + unit, "ratio", "allocs", "goal", "status"]
    rows = small_rows(results, unit) + builtin_rows(results, unit) + growth_rows(results, unit) + \
        one_mb_rows(results, unit)
    return render(rows, header)


def main(argv):
    if len(argv) < 3 or argv[1] not in ("time", "instr"):
        sys.exit(__doc__)
    mode, bench, flags = argv[1], argv[2], argv[3:]
    started = datetime.datetime.now().strftime("%Y-%m-%d %H:%M")
    load_before = load()
    if mode == "time":
        results = timed_results(run_timed(bench, flags))
        unit, what = "ns", "CPU time per run (Google Benchmark); growth rows per term"
    else:
        lines, counts = run_counted(bench, flags)
        results = counted_results(lines, counts)
        unit, what = "Ir", "instructions per run (callgrind); growth rows per term"
    print("QORCalc speed record, %s, %s" % (started, machine()))
    print("%s; load average before %s, after %s" % (what, load_before, load()))
    print(table(results, unit))
    problems = [r for r in results if r.problem and r.problem.startswith("wrong result")]
    for r in problems:
        print("%s: %s" % (r.name, r.problem), file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
