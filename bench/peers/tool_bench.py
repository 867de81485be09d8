#!/usr/bin/env python3
"""The command-line tool against pandas, both reading a W1 CSV file.

  tool_bench.py --bench PROGRAM --stattree PROGRAM --folder DIR [--records N ...] [--rounds R]

For each size: stattree_bench writes the first N rows of W1 to DIR with a
header (untimed); then `stattree run` with w1_job.json and `pandas_peer.py
whole` (pandas reading the file with its default parser, text columns as
categories, and computing the same numbers) run ROUNDS times each, in
turn. Each keeps its fastest processor time (user + system) of the whole
process: start-up, reading the CSV, computing and writing the results. The
two must agree on every number (bench/README.md has the tolerances). A
third run, `stattree run` with count_job.json (one Count at the root),
shows what reading the file alone costs the tool.
Prints a Markdown table; exits 1 on a disagreement or a failure.
"""
import argparse
import json
import math
import os
import subprocess
import sys

from markdown_table import print_table

HERE = os.path.dirname(os.path.abspath(__file__))
PYTHON = "/usr/bin/python3" if os.access("/usr/bin/python3", os.X_OK) else "python3"
# Counts must be equal; percentages (single precision in the engine) agree to
# 1e-5, other reals to 1e-9 relative, as in the benchmark program.
EXACT_PREFIXES = ("ChannelCount[", "AmountHistogram[")


def cpu_seconds(argv, stdout_path):
    """Runs argv to completion; its processor time, or raises on failure."""
    with open(stdout_path, "wb") as out:
        child = subprocess.Popen(argv, stdout=out)
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise RuntimeError(f"{' '.join(argv)} exited with {child.returncode}")
    return usage.ru_utime + usage.ru_stime


def tool_numbers(report_path):
    """The tool's JSON report as {(node path, item): value}."""
    with open(report_path, encoding="utf-8") as f:
        report = json.load(f)
    numbers = {}

    def visit(node, path):
        for name, statistic in node["statistics"].items():
            total = statistic["total"]
            if "bins" in statistic:
                for i, value in enumerate(total["distribution"]):
                    label = i if statistic["type"] == "Histogram1" else statistic["bins"][i]
                    numbers[(path, f"{name}[{label}]")] = value
            elif statistic["grouping"]:
                for combination in statistic["combinations"]:
                    numbers[(path, f"{name}[{combination['group'][0]}]")] = combination["result"]
            else:
                numbers[(path, name)] = total["result"]
        for child in node["children"]:
            visit(child, f"{path}/{child['value']}" if path else str(child["value"]))

    visit(report["root"], "")
    return numbers


def peer_numbers(output_path):
    numbers = {}
    with open(output_path, encoding="utf-8") as f:
        for line in f:
            tag, path, item, value = line.rstrip("\n").split("\t")
            numbers[(path, item)] = float(value)
    return numbers


def differences(ours, theirs, names=("stattree", "pandas")):
    found = []
    for key in sorted(set(ours) | set(theirs)):
        if key not in ours or key not in theirs:
            found.append(f"{key}: only in {names[0] if key in ours else names[1]}")
            continue
        a = math.nan if ours[key] is None else float(ours[key])
        b = theirs[key]
        item = key[1]
        if math.isnan(a) or math.isnan(b):
            same = math.isnan(a) and math.isnan(b)
        elif item in ("Count", "CountValid") or item.startswith(EXACT_PREFIXES):
            same = a == b
        else:
            tolerance = 1e-5 if item.startswith("ChannelPercent[") else 1e-9
            same = abs(a - b) <= tolerance * max(1.0, abs(a), abs(b))
        if not same:
            found.append(f"{key}: {names[0]} {a!r}, {names[1]} {b!r}")
    return found


def rate(records, seconds):
    per_second = records / max(seconds, 1e-9)
    return f"{per_second / 1e6:.2f} M/s" if per_second >= 1e6 else f"{per_second / 1e3:.1f} k/s"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bench", required=True)
    parser.add_argument("--stattree", required=True)
    parser.add_argument("--folder", required=True)
    parser.add_argument("--records", type=int, nargs="+", default=[100000, 1000000])
    parser.add_argument("--rounds", type=int, default=3)
    args = parser.parse_args()
    os.makedirs(args.folder, exist_ok=True)
    job = os.path.join(HERE, "w1_job.json")
    count_job = os.path.join(HERE, "count_job.json")
    peer = os.path.join(HERE, "pandas_peer.py")

    rows = []
    ok = True
    for records in args.records:
        csv = os.path.join(args.folder, f"w1-{records}.csv")
        report = os.path.join(args.folder, f"w1-{records}-stattree.json")
        pandas_out = os.path.join(args.folder, f"w1-{records}-pandas.txt")
        subprocess.run([args.bench, "--write-csv", csv, "--records", str(records)], check=True)
        tool, reading, pandas = math.inf, math.inf, math.inf
        try:
            for _ in range(args.rounds):
                tool = min(tool, cpu_seconds([args.stattree, "run", csv, "--job", job,
                                              "--format", "json", "--quiet"], report))
                pandas = min(pandas, cpu_seconds([PYTHON, peer, "whole", "W1", csv], pandas_out))
                reading = min(reading, cpu_seconds([args.stattree, "run", csv, "--job", count_job,
                                                    "--format", "json", "--quiet"], os.devnull))
            found = differences(tool_numbers(report), peer_numbers(pandas_out))
        except (RuntimeError, OSError, ValueError) as error:
            print(f"W1 {records}: {error}", file=sys.stderr)
            ok = False
            continue
        finally:
            os.remove(csv)
        for line in found[:5]:
            print(f"  DISAGREEMENT {line}", file=sys.stderr)
        ok = ok and not found
        print(f"[W1 CSV, {records} records] stattree {tool:.2f} s (reading alone {reading:.2f} s), "
              f"pandas {pandas:.2f} s", file=sys.stderr)
        rows.append([f"{records:,}".replace(",", " "), f"{tool:.2f} s", rate(records, tool),
                     f"{reading:.2f} s", f"{pandas:.2f} s", rate(records, pandas),
                     f"{pandas / tool:.3g}", "NO" if found else "yes"])

    header = ["records", "stattree", "stattree rate", "stattree reading alone", "pandas",
              "pandas rate", "stattree/pandas", "agree"]
    print_table(header, rows)
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
