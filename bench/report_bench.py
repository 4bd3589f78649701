#!/usr/bin/python3
"""The report path at scale: `qorcalc report` over generated orders.

  report_bench.py data N             N generated order records as CSV on stdout
  report_bench.py run [QORCALC]      times `qorcalc report --jobs 1` and
                                     `--jobs 2` over 100,000 and 1,000,000
                                     records with bench/report_formulas.txt

The records are the same on every run (a fixed seed), so figures from
different days compare.  They hold what the eight report formulas read:
numbers for arithmetic with `round`, `if`, `RMB`, `englishNum` and
`formatNum`, two dates, and customer names (Latin and Chinese, some with a
comma, which CSV quotes) for `left` and `len`.

`run` skips with a message when the command-line tool is not built.  It
measures wall time and peak memory with GNU time (/usr/bin/time -v) and
checks that both job counts write the same bytes.
"""
import csv
import datetime
import os
import random
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
FORMULAS = os.path.join(HERE, "report_formulas.txt")
SIZES = (100_000, 1_000_000)

# The goals for the report at 1,000,000 records.
JOBS2_SECONDS = 3.0
PEAK_MB = 50.0
SPEEDUP = 1.7
FLAT_MEMORY = 1.25       # peak at the largest size over peak at the smallest

CUSTOMERS = ["Lin Wei", "Acme Ltd", "Smith, John", "王芳", "北京恒信贸易有限公司", "Müller GmbH",
             "O'Brien & Sons", "张伟", "Nordic Supply", "Zhang, Min", "李娜", "Globex"]
DISCOUNTS = ["0", "0.05", "0.1", "0.12", "0.2"]
FIRST_DAY = datetime.date(2014, 1, 1)


def records(n, seed=14):
    """The rows of the header and `n` orders, the same for the same n."""
    rng = random.Random(seed)
    yield ["order", "customer", "qty", "price", "discount", "ordered", "shipped"]
    for k in range(n):
        ordered = FIRST_DAY + datetime.timedelta(days=rng.randrange(3 * 365))
        shipped = ordered + datetime.timedelta(days=rng.randrange(15))
        yield ["A-%07d" % (k + 1), rng.choice(CUSTOMERS), str(rng.randrange(501)),
               "%d.%02d" % (rng.randrange(1000), rng.randrange(100)), rng.choice(DISCOUNTS),
               ordered.isoformat(), shipped.isoformat()]


def write_data(n, out):
    writer = csv.writer(out, lineterminator="\n")
    for row in records(n):
        writer.writerow(row)


def data_file(n, directory):
    path = os.path.join(directory, "orders-%d.csv" % n)
    if not os.path.exists(path):
        print("report bench: generating %s" % path, file=sys.stderr)
        with open(path + ".part", "w", encoding="utf-8", newline="") as out:
            write_data(n, out)
        os.replace(path + ".part", path)
    return path


def gnu_time(report):
    """Wall seconds and peak resident megabytes from `/usr/bin/time -v`."""
    wall = re.search(r"Elapsed \(wall clock\) time \(h:mm:ss or m:ss\): (?:(\d+):)?(\d+):([\d.]+)", report)
    peak = re.search(r"Maximum resident set size \(kbytes\): (\d+)", report)
    if not wall or not peak:
        raise ValueError("no wall time or peak memory in the output of /usr/bin/time -v")
    hours, minutes, seconds = wall.groups()
    return int(hours or 0) * 3600 + int(minutes) * 60 + float(seconds), int(peak.group(1)) / 1024


def time_report(tool, data, jobs, directory):
    """(wall seconds, peak MB, output path) of one report, or exits on failure."""
    output = os.path.join(directory, "out-jobs%d.csv" % jobs)
    timing = os.path.join(directory, "time-jobs%d.txt" % jobs)
    with open(output, "wb") as out:
        proc = subprocess.run(["/usr/bin/time", "-v", "-o", timing, tool, "report", data, FORMULAS, "--csv",
                               "--jobs", str(jobs)], stdout=out, stderr=subprocess.PIPE)
    if proc.returncode != 0:
        sys.exit("report bench: qorcalc report --jobs %d failed (status %d) on %s:\n%s" %
                 (jobs, proc.returncode, data, proc.stderr.decode("utf-8", "replace")[:2000]))
    with open(timing) as f:
        wall, peak = gnu_time(f.read())
    return wall, peak, output


def same_bytes(a, b):
    with open(a, "rb") as fa, open(b, "rb") as fb:
        while True:
            x, y = fa.read(1 << 20), fb.read(1 << 20)
            if x != y:
                return False
            if not x:
                return True


def formula_count():
    with open(FORMULAS, encoding="utf-8") as f:
        return sum(1 for line in f if line.strip() and not line.lstrip().startswith("#"))


def run(tool, directory):
    if not os.access(tool, os.X_OK):
        print("report bench: skipped: the command-line tool is not built (no %s); "
              "build it with `make build`, or name it: make bench-report QORCALC=path" % tool)
        return 0
    if not os.access("/usr/bin/time", os.X_OK):
        sys.exit("report bench: GNU time is missing; run scripts/setup.sh bench")
    os.makedirs(directory, exist_ok=True)
    formulas = formula_count()
    print("qorcalc report, %d formulas (%s); load average %s" %
          (formulas, os.path.relpath(FORMULAS), " ".join(open("/proc/loadavg").read().split()[:3])))
    print("%10s  %9s  %9s  %7s  %9s  %9s  %10s  %s" %
          ("records", "jobs 1 s", "jobs 2 s", "speedup", "peak1 MB", "peak2 MB", "ns/formula", "goals"))
    peaks = []
    for n in SIZES:
        data = data_file(n, directory)
        wall1, peak1, out1 = time_report(tool, data, 1, directory)
        wall2, peak2, out2 = time_report(tool, data, 2, directory)
        wall1, wall2 = max(wall1, 0.01), max(wall2, 0.01)  # GNU time reports to 10 ms
        identical = same_bytes(out1, out2)
        os.remove(out1)
        os.remove(out2)
        peaks.append(max(peak1, peak2))
        goals = ["peak %s" % ("met" if max(peak1, peak2) < PEAK_MB else "MISSED"),
                 "speedup %s" % ("met" if wall1 / wall2 >= SPEEDUP else "MISSED")]
        if n == 1_000_000:
            goals.append("jobs 2 under %.0f s %s" % (JOBS2_SECONDS, "met" if wall2 < JOBS2_SECONDS else "MISSED"))
        if not identical:
            goals.append("OUTPUTS DIFFER between --jobs 1 and --jobs 2")
        print("%10s  %9.2f  %9.2f  %7.2f  %9.1f  %9.1f  %10.0f  %s" %
              ("{:,}".format(n), wall1, wall2, wall1 / wall2, peak1, peak2, wall1 * 1e9 / (n * formulas),
               ", ".join(goals)))
    flat = peaks[-1] <= peaks[0] * FLAT_MEMORY
    print("peak memory from %s to %s records: %.1f MB to %.1f MB, flat %s" %
          ("{:,}".format(SIZES[0]), "{:,}".format(SIZES[-1]), peaks[0], peaks[-1], "met" if flat else "MISSED"))
    print("goals: --jobs 2 on 1,000,000 records under %.0f s, peak memory under %.0f MB at every size and flat, "
          "--jobs 2 at least %.1f times faster than --jobs 1" % (JOBS2_SECONDS, PEAK_MB, SPEEDUP))
    return 0


def main(argv):
    if len(argv) == 3 and argv[1] == "data" and argv[2].isdigit():
        write_data(int(argv[2]), sys.stdout)
        return 0
    if len(argv) in (2, 3) and argv[1] == "run":
        tool = argv[2] if len(argv) == 3 else "build/cli/qorcalc"
        return run(tool, os.path.join("build-bench", "report"))
    sys.exit(__doc__)


if __name__ == "__main__":
    sys.exit(main(sys.argv))
