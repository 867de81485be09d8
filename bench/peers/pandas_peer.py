#!/usr/bin/env python3
"""pandas as a benchmark peer of stattree (bench/README.md).

  pandas_peer.py version
  pandas_peer.py run W1|W2 CSV CAP ROUNDS REPEAT_BELOW
  pandas_peer.py whole W1 CSV

`run` loads the CSV (untimed, text columns as categories, reals parsed to
the exact double written), computes the workload's numbers ROUNDS times at
most while under REPEAT_BELOW seconds, and prints them with its fastest
processor time in the lines stattree_bench reads. `whole` is what a user
would write: read the CSV with the default parser and compute once; the
caller times the whole process.
"""
import math
import sys
import time

import numpy as np
import pandas as pd

TEXT_COLUMNS = {"W1": ["Region", "Product", "Channel"], "W2": ["Customer", "Product"]}
CHANNELS = ["Web", "Store", "Phone", "Mail"]
SUBSET_CHANNEL = "Web"
# Histogram bins: below 0, ten of 100 from 0, at or above 1000.
EDGES = np.arange(0, 1001, 100, dtype=float)
HISTOGRAM_BINS = len(EDGES) + 1
EVERYDAY_LEVELS = [[], ["Region"], ["Region", "Product"]]
HIGHCARD_LEVELS = [[], ["Customer"]]


def load(path, workload, exact):
    dtypes = {name: "category" for name in TEXT_COLUMNS[workload]}
    return pd.read_csv(path, dtype=dtypes, float_precision="round_trip" if exact else None)


def everyday_level(frame, bins, web, keys):
    """One tree level of W1, as pandas results (Series and DataFrames)."""
    if not keys:
        amount = frame["Amount"]
        scalars = amount.agg(["size", "count", "min", "max", "sum", "mean", "std"])
        return (scalars, frame["Channel"].value_counts(), bins.value_counts(),
                amount.groupby(frame["Year"]).sum(), web["Amount"].mean())
    by = dict(observed=True, sort=False)
    scalars = frame.groupby(keys, **by)["Amount"].agg(
        ["size", "count", "min", "max", "sum", "mean", "std"])
    channels = frame.groupby(keys + ["Channel"], **by).size()
    histogram = frame.groupby(keys + [bins], **by).size()
    years = frame.groupby(keys + ["Year"], **by)["Amount"].sum()
    web_average = web.groupby(keys, **by)["Amount"].mean()
    return scalars, channels, histogram, years, web_average


def everyday(frame):
    bins = pd.Series(np.searchsorted(EDGES, frame["Amount"].to_numpy(), side="right"),
                     index=frame.index, name="Bin")
    web = frame[frame["Channel"] == SUBSET_CHANNEL]
    return [everyday_level(frame, bins, web, keys) for keys in EVERYDAY_LEVELS]


def highcard(frame):
    by = dict(observed=True, sort=False)
    return [frame.groupby(keys + ["Product"], **by)["Amount"].sum() for keys in HIGHCARD_LEVELS]


def number(value):
    value = float(value)
    return "nan" if math.isnan(value) else repr(value)


def key_tuple(key):
    return key if isinstance(key, tuple) else (key,)


def emit_everyday(levels, out):
    """Turns the results into lines, untimed; the item names are the bench's."""
    for keys, (scalars, channels, histogram, years, web) in zip(EVERYDAY_LEVELS, levels):
        depth = len(keys)
        if depth == 0:
            nodes = {(): list(scalars)}
        else:
            nodes = {key_tuple(k): list(row) for k, row in zip(scalars.index, scalars.to_numpy())}
        channel_counts = {key_tuple(k): int(v) for k, v in channels.items()}
        bin_counts = {key_tuple(k): int(v) for k, v in histogram.items()}
        year_sums = {key_tuple(k): v for k, v in years.items()}
        web_means = {(): web} if depth == 0 else {key_tuple(k): v for k, v in web.items()}
        for node, (count, valid, low, high, total, mean, std) in nodes.items():
            path = "/".join(str(part) for part in node)
            if valid == 1:
                std = 0.0  # one value has no spread, as the engine says
            for item, value in (("Count", count), ("CountValid", valid), ("Min", low),
                                ("Max", high), ("Sum", total), ("Average", mean),
                                ("StdDev", std), ("WebAverage", web_means.get(node, math.nan))):
                out.append(f"result\t{path}\t{item}\t{number(value)}")
            counts = [channel_counts.get(node + (c,), 0) for c in CHANNELS]
            matched = sum(counts)
            for channel, c in zip(CHANNELS, counts):
                out.append(f"result\t{path}\tChannelCount[{channel}]\t{c}")
                percent = c * 100.0 / matched if matched else math.nan
                out.append(f"result\t{path}\tChannelPercent[{channel}]\t{number(percent)}")
            for b in range(HISTOGRAM_BINS):
                out.append(f"result\t{path}\tAmountHistogram[{b}]\t{bin_counts.get(node + (b,), 0)}")
        for key, value in year_sums.items():
            path = "/".join(str(part) for part in key[:-1])
            out.append(f"result\t{path}\tSumByYear[{key[-1]}]\t{number(value)}")


def emit_highcard(levels, out):
    for sums in levels:
        for key, value in sums.items():
            key = key_tuple(key)
            path = "/".join(str(part) for part in key[:-1])
            out.append(f"result\t{path}\tSumByProduct[{key[-1]}]\t{number(value)}")


COMPUTE = {"W1": (everyday, emit_everyday), "W2": (highcard, emit_highcard)}


def run(workload, path, cap, rounds, repeat_below):
    compute, emit = COMPUTE[workload]
    frame = load(path, workload, exact=True)
    results, fastest, spent = None, math.inf, 0.0
    for _ in range(rounds):
        start = time.process_time()
        computed = compute(frame)
        seconds = time.process_time() - start
        if results is None:
            results = computed
        fastest = min(fastest, seconds)
        spent += seconds
        if spent >= repeat_below or spent >= cap:
            break
    if fastest >= cap:
        print(f"over-cap\t{fastest!r}")
        return
    out = []
    emit(results, out)
    out.append(f"seconds\t{fastest!r}")
    sys.stdout.write("\n".join(out) + "\n")


def whole(workload, path):
    compute, emit = COMPUTE[workload]
    out = []
    emit(compute(load(path, workload, exact=False)), out)
    sys.stdout.write("\n".join(out) + "\n")


def main(argv):
    if argv[1:] == ["version"]:
        print(f"version\tpandas {pd.__version__}")
    elif len(argv) == 7 and argv[1] == "run":
        run(argv[2], argv[3], float(argv[4]), int(argv[5]), float(argv[6]))
    elif len(argv) == 4 and argv[1] == "whole":
        whole(argv[2], argv[3])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv)
