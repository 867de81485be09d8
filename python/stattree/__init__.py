"""stattree: drill-down statistics over pandas DataFrames and CSV files.

    job = stattree.Job(tree=["region"],
                       statistics={"Revenue": {"type": "Sum", "field": "amount"}})
    report = job.run(df)                   # or job.run_csv("sales.csv")
    report.root.child("Europe").statistic("Revenue").value
    report = stattree.merge([job.partial(a), job.partial(b)])  # rows of a, then b
    report = stattree.dask.run(job, dask_frame)

A job has the command-line tool's job schema and is checked by the tool's
loader (the same checks and messages); `Job.from_file` reads a job file.
The engine runs in C++ with the interpreter lock released; runs from
several threads take turns, since the library keeps process-wide state.
Ctrl-C stops a run with KeyboardInterrupt.

How DataFrame cells become values: as if the frame were written to CSV by
pandas and read by the tool, without the round trip.

- int and uint columns (numpy or nullable): integers; uint64 values past
  the 64-bit signed range become text, as out-of-range numbers in a CSV.
- float columns: reals; NaN (and a nullable column's NA) is the empty cell;
  infinities are the texts "inf" and "-inf".
- bool columns: the texts "True" and "False".
- categoricals: each category converted once by the rules of its items
  (below); a missing code is empty.
- object and string columns, item by item: None, NaN, pd.NA and pd.NaT are
  empty; int and float as above; bool as above; str goes through the
  tool's cell table ("" is empty, "12" an integer, "1.5" a real, "007" and
  anything else text); bytes are a cell's raw bytes; any other object is
  its str() read as a cell.
- any other dtype (datetimes, periods, complex...): the items' str(), as
  for object columns.

Errors: `JobError` for a bad job or bad data, with the tool's messages;
`EngineError` when the library refuses, with its code, message, detail and
location codes.
"""
import json
import warnings

import numpy as np
import pandas as pd

from . import _stattree

__all__ = ["Job", "Partial", "Report", "Node", "Statistic", "StattreeError", "JobError",
           "EngineError", "merge", "dask"]

# The tool's default: past it a tree field most likely holds an identifier.
DEFAULT_MAX_NODES = 1_000_000
# Objects that read as the empty cell besides None and NaN.
_MISSING = (pd.NA, pd.NaT)
# A Python int: numpy compares uint64 with int64 as floats, where 2**63 - 1
# and 2**63 are equal.
_INT64_MAX = int(np.iinfo(np.int64).max)


class StattreeError(Exception):
    """Base of the errors this package raises."""


class JobError(StattreeError):
    """A bad job or bad data; `errors` holds one message per problem, each
    naming the file (or "<job>", "<DataFrame>") and where in it."""

    def __init__(self, errors):
        self.errors = list(errors)
        super().__init__("\n".join(self.errors))


class EngineError(StattreeError):
    """The library refused a call: its error `code`, `message`, `detail` and
    `locations` (innermost first), and the step that failed (`context`)."""

    def __init__(self, context, code, message, detail="", locations=(), second=0, flag=False):
        self.context = context
        self.code = code
        self.message = message
        self.detail = detail
        self.locations = list(locations)
        self.second = second
        self.flag = flag
        text = f"{context}: library error {code} ({message})"
        if detail:
            text += f', detail "{detail}"'
        if self.locations:
            text += ", locations " + ", ".join(str(n) for n in self.locations)
        super().__init__(text)


def _plain(value):
    """numpy scalars in a job (np.int64(2024)) as plain Python values."""
    if isinstance(value, np.generic):
        return value.item()
    raise TypeError(f"{type(value).__name__} is not a JSON value")


def _answer(answer):
    kind, payload = answer
    if kind == "ok":
        report = Report(payload)
        for warning in report.warnings:
            warnings.warn(warning["message"], stacklevel=3)
        return report
    if kind == "bad":
        raise JobError(payload)
    raise EngineError(payload["context"], payload["code"], payload["message"], payload["detail"],
                      payload["locations"], payload["second"], payload["flag"])


def _column(series):
    """One column as the engine's side reads it (see the module's notes)."""
    dtype = series.dtype
    if isinstance(dtype, pd.CategoricalDtype):
        codes = np.ascontiguousarray(series.cat.codes.to_numpy())
        return ("codes", codes, series.cat.categories.to_numpy(dtype=object))
    if isinstance(dtype, np.dtype):
        if dtype.kind == "b":
            return ("codes", np.ascontiguousarray(series.to_numpy()).view(np.int8),
                    np.array([False, True], dtype=object))
        if dtype.kind == "i" or (dtype.kind == "u" and (
                dtype.itemsize < 8 or len(series) == 0 or int(series.max()) <= _INT64_MAX)):
            return ("integers", np.ascontiguousarray(series.to_numpy(), dtype=np.int64), None)
        if dtype.kind == "f":
            return ("reals", np.ascontiguousarray(series.to_numpy(), dtype=np.float64), None)
    elif pd.api.types.is_integer_dtype(dtype):
        missing = series.isna().to_numpy()
        if not missing.all() and int(series.max()) > _INT64_MAX:
            return ("objects", series.to_numpy(dtype=object))
        data = series.to_numpy(dtype=np.int64, na_value=0)
        return ("integers", np.ascontiguousarray(data), np.ascontiguousarray(missing))
    elif pd.api.types.is_float_dtype(dtype):
        data = series.to_numpy(dtype=np.float64, na_value=np.nan)
        return ("reals", np.ascontiguousarray(data), None)
    return ("objects", series.to_numpy(dtype=object))


class Job:
    """What to compute: tree fields and named statistics, in the tool's
    job schema (tools' README, "Job file"). Checked when made; a bad job
    raises JobError. Warnings (a spec the type does not use) are in
    `warnings` and issued as Python warnings."""

    def __init__(self, tree=None, statistics=None, description=None):
        document = {}
        if description is not None:
            document["description"] = description
        if tree is not None:
            document["tree"] = list(tree)
        if statistics is not None:
            document["statistics"] = statistics
        try:
            text = json.dumps(document, allow_nan=False, default=_plain)
        except (TypeError, ValueError) as error:
            raise JobError([f"<job>: {error}"]) from None
        self._adopt(_stattree.parse_job(text, "<job>"))
        self._source = (text.encode(), "<job>")

    @classmethod
    def from_file(cls, path):
        """A job file, as `stattree run --job` reads it."""
        job = cls.__new__(cls)
        job._adopt(_stattree.load_job(str(path)))
        with open(path, "rb") as file:
            job._source = (file.read(), str(path))
        return job

    @classmethod
    def _from_source(cls, text, name):
        job = cls.__new__(cls)
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")  # issued when the job was first made
            job._adopt(_stattree.parse_job(text, name))
        job._source = (text, name)
        return job

    def __reduce__(self):
        # Pickled as its text: a job crosses to other processes with partials.
        return (Job._from_source, self._source)

    def _adopt(self, parsed):
        job, errors, warned = parsed
        for message in warned:
            warnings.warn(message, stacklevel=3)
        if job is None:
            raise JobError(errors)
        self._job = job
        self.warnings = list(warned)

    @property
    def tree(self):
        return self._job.tree

    @property
    def columns(self):
        """The columns the job reads, each once."""
        return self._job.columns

    def run(self, frame, max_nodes=DEFAULT_MAX_NODES, name="<DataFrame>"):
        """Runs over a pandas DataFrame, its rows in order; `name` is the
        report's "data". Only the columns the job reads are converted."""
        return _answer(_stattree.run_frame(self._job, *self._frame(frame), _MISSING, name,
                                           max_nodes))

    def partial(self, frame, max_nodes=DEFAULT_MAX_NODES):
        """The unfinalized results of `run(frame)`, as a picklable Partial:
        `merge` of the partials of consecutive slices of a frame, in order,
        reports what `run` over the whole frame reports (sums, averages and
        standard deviations up to the last digits of reals, whose additions
        come in another order). Warnings are issued by `merge`."""
        kind, payload = _stattree.run_frame(self._job, *self._frame(frame), _MISSING,
                                            "<DataFrame>", max_nodes, partial=True)
        if kind == "ok":
            return Partial(self, payload)
        return _answer((kind, payload))

    def _frame(self, frame):
        """Column names, the columns the job reads as the engine's side
        takes them (others None), and the row count."""
        names = [str(column) for column in frame.columns]
        used = set(self._job.columns)
        columns = [_column(series) if str(label) in used else None
                   for label, series in frame.items()]
        return names, columns, len(frame)

    def run_csv(self, path, delimiter=",", text=(), skip_bad_rows=False,
                max_nodes=DEFAULT_MAX_NODES):
        """Reads a CSV file with the tool's reader and cell table, as
        `stattree run` does with --delimiter, --text, --skip-bad-rows and
        --max-nodes."""
        if delimiter in ("tab", "\\t"):
            delimiter = "\t"
        if len(delimiter) != 1 or delimiter in "\"\r\n":
            raise ValueError("delimiter: expected one character (or tab), other than a quote "
                             "or a line break")
        return _answer(_stattree.run_csv(self._job, str(path), delimiter, list(text),
                                         skip_bad_rows, max_nodes))


class Partial:
    """The unfinalized results of a job over some rows (`Job.partial`):
    the engine's portable bytes with the job they belong to. Picklable, so
    that partials made by other processes or machines meet in `merge`."""

    def __init__(self, job, data):
        self.job = job
        self._data = bytes(data)

    def __reduce__(self):
        return (Partial, (self.job, self._data))

    def __repr__(self):
        return f"<stattree.Partial of {len(self._data)} bytes>"


def _merge_input(partials):
    partials = list(partials)
    if not partials:
        raise JobError(["<partials>: no partial results to merge"])
    for index, partial in enumerate(partials):
        if not isinstance(partial, Partial):
            raise TypeError(f"partial {index + 1} is a {type(partial).__name__}, not a Partial")
        if partial.job._source != partials[0].job._source:
            raise JobError([f"<partials>: partial {index + 1} belongs to another job than the "
                            "first"])
    return partials[0].job, [partial._data for partial in partials]


def merge(partials, max_nodes=DEFAULT_MAX_NODES, name="<DataFrame>"):
    """The Report of one run over the rows of `partials`, given in the
    order of their rows: merged, then finalized. `max_nodes` limits the
    merged tree; `name` is the report's "data"."""
    job, data = _merge_input(partials)
    return _answer(_stattree.merge_partials(job._job, data, name, max_nodes))


def _combine(partials, max_nodes=DEFAULT_MAX_NODES):
    """Consecutive partials merged into one, still unfinalized."""
    job, data = _merge_input(partials)
    kind, payload = _stattree.merge_partials(job._job, data, "<DataFrame>", max_nodes,
                                             partial=True)
    if kind == "ok":
        return Partial(job, payload)
    return _answer((kind, payload))


class Report:
    """A finished run: the tool's JSON report as `to_dict()`, a tidy
    `to_frame()`, and navigation from `root`."""

    def __init__(self, native):
        # The engine side's report: the dict and the JSON text are made
        # from it, not from each other.
        self._native = native
        self._json = None
        self._document = native.document()

    def to_dict(self):
        """The tool's JSON report (`stattree run --format json`), as a new
        dict each call."""
        if self._native is None:
            return json.loads(self._json)
        return self._native.document()

    def to_json(self):
        if self._json is None:
            self._json = self._native.json()
        return self._json

    def __getstate__(self):
        return {"json": self.to_json()}

    def __setstate__(self, state):
        self._native = None
        self._json = state["json"]
        self._document = json.loads(self._json)

    @property
    def records(self):
        return self._document["records"]

    @property
    def skipped_rows(self):
        return self._document["skipped_rows"]

    @property
    def warnings(self):
        """What the job probably did not mean, as the tool reports it (kind,
        statistic, column, message); each was also issued as a Python
        warning when the run ended."""
        return [dict(w) for w in self._document.get("warnings", [])]

    @property
    def tree(self):
        return list(self._document["tree"])

    @property
    def root(self):
        return Node(self._document["root"])

    def to_frame(self):
        """One row per node, statistic, combination and bin: a column per
        tree field (the node's path; None below its depth), then
        "statistic", "type", "group" (a tuple of grouping values; None for
        the totals), "bin" (the bin's label, "N/A" for empty cells in no
        bin; None for scalar types), "records" and "value". A tree field
        named like one of these columns gets a trailing "_"."""
        fixed = ["statistic", "type", "group", "bin", "records", "value"]
        levels = [field + "_" if field in fixed else field for field in self.tree]
        rows = []

        def visit(node, path):
            padding = [None] * (len(levels) - len(path))
            for name, statistic in node["statistics"].items():
                head = path + padding + [name, statistic["type"]]
                combinations = [(tuple(c["group"]), c) for c in statistic["combinations"]]
                combinations.append((None, statistic["total"]))
                for group, combination in combinations:
                    records = combination["records"]
                    if "bins" not in statistic:
                        rows.append(head + [group, None, records, combination["result"]])
                        continue
                    for label, value in zip(statistic["bins"], combination["distribution"]):
                        rows.append(head + [group, label, records, value])
                    if combination["not_available"] is not None:
                        rows.append(head + [group, "N/A", records, combination["not_available"]])
            for child in node["children"]:
                visit(child, path + [child["value"]])

        visit(self._document["root"], [])
        return pd.DataFrame(rows, columns=levels + fixed)


class Node:
    """A node of the results tree."""

    def __init__(self, document):
        self._document = document

    @property
    def field(self):
        """The tree field that made the node; None at the root."""
        return self._document["field"]

    @property
    def value(self):
        """The node's value text; None at the root."""
        return self._document["value"]

    @property
    def records(self):
        return self._document["records"]

    @property
    def children(self):
        return [Node(child) for child in self._document["children"]]

    def child(self, value):
        """The child whose value text is `value` (numbers by their text:
        2024 finds "2024"); KeyError when there is none."""
        text = value if isinstance(value, str) else _text(value)
        for child in self._document["children"]:
            if child["value"] == text:
                return Node(child)
        raise KeyError(value)

    @property
    def statistics(self):
        """Name to Statistic, in the job's order."""
        return {name: Statistic(name, s) for name, s in self._document["statistics"].items()}

    def statistic(self, name):
        return Statistic(name, self._document["statistics"][name])

    def __repr__(self):
        if self.field is None:
            return f"<Node root, {self.records} records>"
        return f"<Node {self.field}={self.value!r}, {self.records} records>"


def _text(value):
    """A number's text as the engine writes it: 2024, 2.5."""
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


class Statistic:
    """One statistic of a node. `value` is the total: the result of a
    scalar type, or bin label to count (percentage for EnumPercent) for the
    distribution types. `groupings` maps each grouping value combination
    (the value itself for one grouping field, a tuple for several) to the
    same kind of value."""

    def __init__(self, name, document):
        self.name = name
        self._document = document

    @property
    def type(self):
        return self._document["type"]

    @property
    def field(self):
        return self._document["field"]

    @property
    def grouping(self):
        return self._document["grouping"]

    @property
    def subset(self):
        return self._document["subset"]

    @property
    def bins(self):
        """Bin labels of a distribution type; None for scalar types."""
        return self._document.get("bins")

    @property
    def records(self):
        return self._document["total"]["records"]

    @property
    def not_available(self):
        """Empty cells that fell in no bin (EnumCount, Histogram1)."""
        return self._document["total"].get("not_available")

    def _value(self, combination):
        if "bins" in self._document:
            return dict(zip(self._document["bins"], combination["distribution"]))
        return combination["result"]

    @property
    def value(self):
        return self._value(self._document["total"])

    @property
    def groupings(self):
        values = {}
        for combination in self._document["combinations"]:
            group = combination["group"]
            key = group[0] if len(group) == 1 else tuple(group)
            values[key] = self._value(combination)
        return values

    def __repr__(self):
        return f"<Statistic {self.name!r} ({self.type}): {self.value!r}>"


# Last: it takes merge and the partials' helpers from above. Dask itself is
# imported only when stattree.dask.run is called.
from . import dask  # noqa: E402
