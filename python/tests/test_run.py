"""Runs over DataFrames and CSV files against the tool's own reports."""
import json
import math

import numpy as np
import pandas as pd
import pytest

import stattree
from conftest import EXAMPLES

# Every statistic type over column x, grouped by g and on a subset of g.
EVERY_TYPE = {
    "Count": {"type": "Count"},
    "Valid": {"type": "CountValid", "field": "x"},
    "Min": {"type": "Min", "field": "x"},
    "Max": {"type": "Max", "field": "x"},
    "Sum": {"type": "Sum", "field": "x", "grouping": {"fields": ["g"]}},
    "Average": {"type": "Average", "field": "x", "subset": {"where": {"g": "a"}}},
    "StdDev": {"type": "StdDev", "field": "x"},
    "Bins": {"type": "Histogram1", "field": "x",
             "histogram": {"start": 0, "width": 5, "count": 2}},
    "Values": {"type": "EnumCount", "field": "x", "values": ["1", "007", "True", "inf"],
               "grouping": {"fields": ["g"]}},
    "Shares": {"type": "EnumPercent", "field": "x", "values": ["1", "2.5", "abc"]},
}

G = ["a", "b", "a", "b", "a", "b"]

# Columns x of every kind a DataFrame holds, missing values included.
COLUMNS = {
    "ints": pd.Series([1, 2, 3, -4, 5, 12], dtype="int64"),
    "small ints": pd.Series([1, 2, 3, -4, 5, 12], dtype="int8"),
    "uints": pd.Series([1, 2, 3, 4, 5, 12], dtype="uint32"),
    "huge uints": pd.Series([1, 2**63, 3, 2**64 - 1, 5, 12], dtype="uint64"),
    "floats with NaN": pd.Series([1.0, 2.5, math.nan, -0.5, 1e21, 7.25]),
    "floats with inf": pd.Series([1.0, math.inf, -math.inf, 2.5, math.nan, 3.0]),
    "nullable ints": pd.Series([1, None, 3, None, 5, 12], dtype="Int64"),
    "nullable floats": pd.Series([1.5, None, 3.0, None, 5.0, 12.0], dtype="Float64"),
    "bools": pd.Series([True, False, True, True, False, True]),
    "objects": pd.Series([1, None, "007", "12", 2.5, math.nan], dtype=object),
    "texts": pd.Series(["abc", "", " 5", "1.5", "1e3", "NaN"], dtype=object),
    "string dtype": pd.Series(["abc", None, "1", "2.5", "x", "1"], dtype="string"),
    "text categories": pd.Series(["1", None, "abc", "1", "007", "2.5"], dtype="category"),
    "number categories": pd.Series([1, 2, None, 2, 1, 10], dtype="category"),
    "big numbers": pd.Series([str(2**63), "-0", "01", "+5", "1.", ".5"], dtype=object),
}


def frame_of(column):
    return pd.DataFrame({"g": G, "x": column.reset_index(drop=True)})


@pytest.mark.parametrize("kind", list(COLUMNS))
def test_a_frame_reads_as_the_tool_reads_its_csv(kind, tmp_path, tool_json):
    # pandas writes the cells; the tool's cell table must read them back
    # as run() reads the frame itself.
    frame = frame_of(COLUMNS[kind])
    csv = tmp_path / "data.csv"
    frame.to_csv(csv, index=False)
    job = stattree.Job(tree=["g"], statistics=EVERY_TYPE)
    job_file = tmp_path / "job.json"
    job_file.write_text(json.dumps({"tree": ["g"], "statistics": EVERY_TYPE}))
    expected = tool_json(str(csv), str(job_file))
    got = job.run(frame, name=str(csv)).to_dict()
    got["job"] = expected["job"]
    assert got == expected


@pytest.mark.parametrize("column, valid, total", [
    (pd.Series([1, 2, 3, 4, 5, 6]), 6, 21),
    (pd.Series([1.5, None, 2.5, math.nan, 1.0, 0.0]), 4, 5.0),
    (pd.Series([1, None, 3, None, 5, None], dtype="Int64"), 3, 9),
    # Texts read by the cell table: "" is empty, "2.5" a real.
    (pd.Series(["1", "", None, "2.5", "4", math.nan], dtype=object), 3, 7.5),
    (pd.Series([1, None, "2", None, 4, None], dtype="category"), 3, 7),
])
def test_missing_cells_are_empty(column, valid, total):
    job = stattree.Job(statistics={"Valid": {"type": "CountValid", "field": "x"},
                                   "Sum": {"type": "Sum", "field": "x"}})
    root = job.run(frame_of(column)).root
    assert root.statistic("Valid").value == valid
    assert root.statistic("Sum").value == total


def test_sales_example_matches_the_tool(tool_json):
    # One reader: several add their sums in another order.
    expected = tool_json("sales.csv", "sales.json", "--threads", "1", cwd=EXAMPLES)
    job = stattree.Job.from_file(f"{EXAMPLES}/sales.json")
    by_csv = job.run_csv(f"{EXAMPLES}/sales.csv").to_dict()
    frame = pd.read_csv(f"{EXAMPLES}/sales.csv", float_precision="round_trip")
    by_frame = job.run(frame).to_dict()
    for report in (by_csv, by_frame):
        assert report.pop("data") and report.pop("job")
    del expected["data"], expected["job"]
    assert by_csv == expected
    assert by_frame == expected


def test_categorical_frame_matches_object_frame():
    frame = pd.read_csv(f"{EXAMPLES}/sales.csv", float_precision="round_trip")
    categorical = frame.astype({c: "category" for c in ("region", "channel", "quarter")})
    job = stattree.Job.from_file(f"{EXAMPLES}/sales.json")
    assert job.run(categorical).to_dict() == job.run(frame).to_dict()


def test_run_csv_options(tmp_path):
    csv = tmp_path / "data.csv"
    csv.write_text("g;x\na;007\na;5\nb;1;2\nb;2\n")
    job = stattree.Job(tree=["g"], statistics={"Sum": {"type": "Sum", "field": "x"},
                                               "Max": {"type": "Max", "field": "x"}})
    report = job.run_csv(csv, delimiter=";", text=["x"], skip_bad_rows=True)
    assert report.skipped_rows == 1 and report.records == 3
    # Forced text: "5" > "2" > "007" byte-wise, and texts do not add.
    assert report.root.statistic("Max").value == "5"
    assert report.root.child("b").statistic("Max").value == "2"


def test_only_the_columns_read_are_converted():
    # An unconvertible column the job does not read is never touched.
    class Opaque:
        def __str__(self):
            raise AssertionError("converted")

    frame = pd.DataFrame({"x": [1, 2], "other": [Opaque(), Opaque()]})
    job = stattree.Job(statistics={"Sum": {"type": "Sum", "field": "x"}})
    assert job.run(frame).root.statistic("Sum").value == 3


def test_any_other_object_reads_as_its_text():
    frame = pd.DataFrame({"x": [np.int64(7), pd.Timestamp("2024-01-02"), b"9", (1, 2)]})
    job = stattree.Job(statistics={
        "Values": {"type": "EnumCount", "field": "x",
                   "values": ["7", "2024-01-02 00:00:00", "9", "(1, 2)"]}})
    root = job.run(frame).root
    assert root.statistic("Values").value == {"7": 1, "2024-01-02 00:00:00": 1, "9": 1,
                                              "(1, 2)": 1}
