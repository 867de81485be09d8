#!/usr/bin/env python3
"""The command-line tool on one W1 CSV file, with 1 and more reading processes.

  tool_threads.py --bench PROGRAM --stattree PROGRAM --folder DIR [--records N]
                  [--threads T ...] [--rounds R] [--stdin]

stattree_bench writes the first N rows of W1 to DIR with a header (untimed).
Then `stattree run FILE --job w1_job.json --format json --quiet --threads T`
runs ROUNDS times for each T, the counts in turn; each keeps its fastest
wall-clock run, with that run's processor time (user + system of the tool
and of the worker processes it reaped, from wait4). With --stdin the tool
reads `-`, the file piped in by cat (whose time is not counted). Every count's report
must agree with the first count's (bench/README.md has the tolerances).
Prints a Markdown table; exits 1 on a disagreement or a failure.
"""
import argparse
import os
import subprocess
import sys
import time

from markdown_table import print_table
from tool_bench import differences, tool_numbers

HERE = os.path.dirname(os.path.abspath(__file__))


def timed_run(argv, stdout_path, stdin_path=None):
    """Runs argv to completion, stdin_path piped in if given; (wall seconds,
    processor seconds), or raises."""
    with open(stdout_path, "wb") as out:
        start = time.monotonic()
        feeder = None
        if stdin_path is not None:
            feeder = subprocess.Popen(["cat", stdin_path], stdout=subprocess.PIPE)
        child = subprocess.Popen(argv, stdout=out,
                                 stdin=feeder.stdout if feeder is not None else None)
        if feeder is not None:
            feeder.stdout.close()
        _, status, usage = os.wait4(child.pid, 0)
        wall = time.monotonic() - start
        if feeder is not None:
            feeder.wait()
    code = os.waitstatus_to_exitcode(status)
    if code != 0:
        raise RuntimeError(f"{' '.join(argv)} exited with {code}")
    return wall, usage.ru_utime + usage.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bench", required=True)
    parser.add_argument("--stattree", required=True)
    parser.add_argument("--folder", required=True)
    parser.add_argument("--records", type=int, default=10000000)
    parser.add_argument("--threads", type=int, nargs="+", default=[1, 2])
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--stdin", action="store_true", help="pipe the file in as standard input")
    args = parser.parse_args()
    os.makedirs(args.folder, exist_ok=True)
    job = os.path.join(HERE, "w1_job.json")
    csv = os.path.join(args.folder, f"w1-{args.records}.csv")
    subprocess.run([args.bench, "--write-csv", csv, "--records", str(args.records)], check=True)

    best = {threads: None for threads in args.threads}
    reports = {t: os.path.join(args.folder, f"w1-{args.records}-threads-{t}.json")
               for t in args.threads}
    ok = True
    try:
        for _ in range(args.rounds):
            for threads in args.threads:
                data = "-" if args.stdin else csv
                run = timed_run([args.stattree, "run", data, "--job", job, "--format", "json",
                                 "--quiet", "--threads", str(threads)], reports[threads],
                                csv if args.stdin else None)
                if best[threads] is None or run[0] < best[threads][0]:
                    best[threads] = run
    except (RuntimeError, OSError) as error:
        print(f"W1 {args.records}: {error}", file=sys.stderr)
        sys.exit(1)
    finally:
        os.remove(csv)

    first = args.threads[0]
    base_numbers = tool_numbers(reports[first])
    base_wall, base_cpu = best[first]
    rows = []
    for threads in args.threads:
        found = [] if threads == first else differences(
            tool_numbers(reports[threads]), base_numbers,
            (f"{threads} threads", f"{first} threads"))
        for line in found[:5]:
            print(f"  DISAGREEMENT {line}", file=sys.stderr)
        ok = ok and not found
        wall, cpu = best[threads]
        source = "standard input" if args.stdin else "CSV file"
        print(f"[W1 {source}, {args.records} records, --threads {threads}] {wall:.2f} s wall, "
              f"{cpu:.2f} s CPU", file=sys.stderr)
        rows.append([f"{args.records:,}".replace(",", " "), str(threads), f"{wall:.2f} s",
                     f"{cpu:.2f} s", f"{base_wall / wall:.2f}",
                     f"{100 * (cpu / base_cpu - 1):+.1f} %", "NO" if found else "yes"])
    header = ["records", "threads", "wall", "CPU", "speed-up", "CPU overhead", "agree"]
    print_table(header, rows)
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
