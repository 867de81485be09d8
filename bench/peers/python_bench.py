#!/usr/bin/env python3
"""The Python package against pandas, both on the same DataFrame of W1 rows.

  python_bench.py --bench PROGRAM --folder DIR [--records N ...] [--rounds R]

For each size: stattree_bench writes the first N rows of W1 to DIR
(untimed); pandas_peer.py's loader reads them into one DataFrame (text
columns as categories, reals to the exact double written; untimed). Then,
ROUNDS times each, in turn, keeping each one's fastest processor time:

- stattree: `job.run(frame)` with w1_job.json (converting the columns,
  running the engine and reading the report into Python included);
- pandas: pandas_peer.py's computation of the same numbers (groupby per
  tree level, as the benchmark's pandas peer).

The two must agree on every number (bench/README.md has the tolerances;
the check is not timed). Needs the package on PYTHONPATH (make
bench-python). Prints a Markdown table; exits 1 on a disagreement.
"""
import argparse
import math
import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import pandas_peer  # noqa: E402
import stattree  # noqa: E402
from markdown_table import print_table  # noqa: E402
from tool_bench import differences, peer_numbers, rate, tool_numbers  # noqa: E402


def timed(compute):
    start = time.process_time()
    result = compute()
    return time.process_time() - start, result


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bench", required=True)
    parser.add_argument("--folder", required=True)
    parser.add_argument("--records", type=int, nargs="+", default=[100000, 1000000])
    parser.add_argument("--rounds", type=int, default=3)
    args = parser.parse_args()
    os.makedirs(args.folder, exist_ok=True)
    job = stattree.Job.from_file(os.path.join(HERE, "w1_job.json"))

    rows = []
    ok = True
    for records in args.records:
        csv = os.path.join(args.folder, f"w1-{records}.csv")
        subprocess.run([args.bench, "--write-csv", csv, "--records", str(records)], check=True)
        try:
            frame = pandas_peer.load(csv, "W1", exact=True)
        finally:
            os.remove(csv)
        ours, theirs = math.inf, math.inf
        report, levels = None, None
        for _ in range(args.rounds):
            seconds, report = timed(lambda: job.run(frame))
            ours = min(ours, seconds)
            seconds, levels = timed(lambda: pandas_peer.everyday(frame))
            theirs = min(theirs, seconds)

        report_path = os.path.join(args.folder, f"w1-{records}-stattree.json")
        with open(report_path, "w", encoding="utf-8") as f:
            f.write(report.to_json())
        lines = []
        pandas_peer.emit_everyday(levels, lines)
        pandas_path = os.path.join(args.folder, f"w1-{records}-pandas.txt")
        with open(pandas_path, "w", encoding="utf-8") as f:
            f.write("\n".join(lines) + "\n")
        found = differences(tool_numbers(report_path), peer_numbers(pandas_path))
        for line in found[:5]:
            print(f"  DISAGREEMENT {line}", file=sys.stderr)
        ok = ok and not found
        print(f"[W1 DataFrame, {records} records] stattree {ours:.3f} s, pandas {theirs:.3f} s",
              file=sys.stderr)
        rows.append([f"{records:,}".replace(",", " "), f"{ours:.3f} s", rate(records, ours),
                     f"{theirs:.3f} s", rate(records, theirs), f"{theirs / ours:.3g}",
                     "NO" if found else "yes"])

    header = ["records", "job.run(df)", "stattree rate", "pandas groupby", "pandas rate",
              "stattree/pandas", "agree"]
    print_table(header, rows)
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
