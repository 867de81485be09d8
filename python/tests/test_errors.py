"""Bad jobs and bad data raise JobError with the tool's messages; library
failures raise EngineError with the library's error."""
import json
import signal
import threading

import numpy as np
import pandas as pd
import pytest

import stattree
from stattree import _stattree

PREFIX = "stattree: error: "

BAD_JOBS = {
    "unknown type and missing field": {"statistics": {"s": {"type": "Summ"},
                                                      "t": {"type": "Sum"}}},
    "distribution without bins": {"statistics": {"h": {"type": "Histogram1", "field": "x"}}},
    "descending edges": {"statistics": {"h": {"type": "Histogram1", "field": "x",
                                              "histogram": {"edges": [3, 1]}}}},
    "unknown columns": {"tree": ["nope"], "statistics": {"s": {"type": "Sum", "field": "y"}}},
    "no statistics": {"tree": ["g"]},
}


def tool_errors(tool, cwd, *args):
    code, _, err = tool(*args, cwd=cwd)
    assert code == 1
    return [line[len(PREFIX):] for line in err.splitlines() if line.startswith(PREFIX)]


@pytest.mark.parametrize("name", list(BAD_JOBS))
def test_bad_jobs_raise_the_tools_messages(name, tmp_path, tool):
    (tmp_path / "job.json").write_text(json.dumps(BAD_JOBS[name]))
    (tmp_path / "data.csv").write_text("g,x\na,1\n")
    expected = tool_errors(tool, tmp_path, "check", "--job", "job.json", "data.csv")
    assert expected
    with pytest.raises(stattree.JobError) as raised:
        stattree.Job.from_file(tmp_path / "job.json").run_csv(tmp_path / "data.csv")
    assert raised.value.errors == [e.replace("job.json", str(tmp_path / "job.json"), 1)
                                   .replace("data.csv", str(tmp_path / "data.csv"), 1)
                                   for e in expected]
    # Inline jobs are checked the same way, named "<job>".
    with pytest.raises(stattree.JobError) as inline:
        stattree.Job(**BAD_JOBS[name]).run(pd.DataFrame({"g": ["a"], "x": [1]}))
    assert inline.value.errors == [e.replace("job.json", "<job>", 1) for e in expected]


@pytest.mark.parametrize("data, message", [
    ("g,x\na,1\nb\n", "data.csv: line 3: "),
    ("", "data.csv: the input is empty; expected a header row naming the columns"),
])
def test_bad_csv_data_raises_the_tools_messages(data, message, tmp_path, tool):
    (tmp_path / "data.csv").write_text(data)
    (tmp_path / "job.json").write_text(json.dumps({"statistics": {"n": {"type": "Count"}}}))
    expected = tool_errors(tool, tmp_path, "run", "data.csv", "--job", "job.json")
    with pytest.raises(stattree.JobError) as raised:
        stattree.Job.from_file(tmp_path / "job.json").run_csv(tmp_path / "data.csv")
    assert raised.value.errors == [e.replace("data.csv", str(tmp_path / "data.csv"), 1)
                                   for e in expected]
    assert expected[0].startswith(message)


def test_missing_job_file():
    with pytest.raises(stattree.JobError, match="nothing.json: cannot open the job file"):
        stattree.Job.from_file("nothing.json")


def test_values_that_are_not_json():
    with pytest.raises(stattree.JobError, match="<job>: "):
        stattree.Job(statistics={"s": {"type": "Sum", "field": object()}})
    # numpy scalars are plain numbers.
    job = stattree.Job(statistics={"s": {"type": "Sum", "field": "x", "subset": {
        "where": {"y": pd.Series([2024]).iloc[0]}}}})
    frame = pd.DataFrame({"x": [1, 2], "y": [2024, 2025]})
    assert job.run(frame).root.statistic("s").value == 1


def test_warnings_are_issued_and_kept():
    with pytest.warns(UserWarning, match="/statistics/s/values"):
        job = stattree.Job(statistics={"s": {"type": "Sum", "field": "x", "values": ["a"]}})
    assert len(job.warnings) == 1 and job.warnings[0].startswith("<job>: /statistics/s/values")


@pytest.mark.parametrize("g", [
    pd.Series(["a", "b", "a", "c"]),
    pd.Series(["a", "b", "a", "c"], dtype=pd.CategoricalDtype(list("abcde"))),
    pd.Series([1, 2, 1, 3]),
])
def test_node_limit(g):
    job = stattree.Job(tree=["g"], statistics={"n": {"type": "Count"}})
    frame = pd.DataFrame({"g": g})
    with pytest.raises(stattree.JobError) as raised:
        job.run(frame, max_nodes=3)
    assert raised.value.errors == [
        "<DataFrame>: record 4 would grow the results tree past 3 nodes (max_nodes; one node "
        "per distinct value of a tree field under each parent); raise max_nodes, or set it to "
        "0 for no limit"]
    assert len(job.run(frame, max_nodes=0).root.children) == 3


def test_a_failed_read_raises_the_library_error():
    # A column the job reads but that was not handed over fails in the
    # record loop, where the library records its error and locations.
    job = stattree.Job(statistics={"s": {"type": "Sum", "field": "x"}})
    answer = _stattree.run_frame(job._job, ["x"], [None], 2, (), "<DataFrame>", 0)
    with pytest.raises(stattree.EngineError) as raised:
        stattree._answer(answer)
    error = raised.value
    assert error.context == "processing the records"
    assert error.code == 90111
    assert error.message == "column 0 of the DataFrame was not converted"
    assert error.locations and all(isinstance(n, int) and n > 0 for n in error.locations)
    assert str(error).startswith("processing the records: library error 90111 (column 0 ")
    # The error was cleared: the next run is unaffected.
    assert job.run(pd.DataFrame({"x": [1, 2]})).root.statistic("s").value == 3


def test_runs_from_several_threads_take_turns():
    frame = pd.DataFrame({"g": list("abcd") * 5000, "x": range(20000)})
    job = stattree.Job(tree=["g"], statistics={"s": {"type": "Sum", "field": "x"},
                                               "d": {"type": "StdDev", "field": "x"}})
    expected = job.run(frame).to_dict()
    results = [None] * 4

    def run(i):
        results[i] = job.run(frame).to_dict()

    threads = [threading.Thread(target=run, args=(i,)) for i in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert results == [expected] * 4


def test_a_signal_handler_stops_a_run():
    # The engine runs without the interpreter lock; Python's handlers still
    # run, and what they raise ends the run.
    class Stop(Exception):
        pass

    def stop(signum, frame):
        raise Stop()

    frame = pd.DataFrame({"g": np.arange(2_000_000) % 7, "x": np.ones(2_000_000)})
    job = stattree.Job(tree=["g"], statistics={"s": {"type": "Sum", "field": "x"}})
    previous = signal.signal(signal.SIGALRM, stop)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.05)
        with pytest.raises(Stop):
            job.run(frame)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, previous)
    assert job.run(frame.iloc[:10]).root.statistic("s").value == 10


@pytest.mark.parametrize("column, statistic, message", [
    (["1", "x", "y"], {"type": "Sum", "field": "c"},
     's — Sum of c: 2 of 3 cells are not numbers, e.g. line 3: "x"'),
    ([5, 6, 5], {"type": "EnumCount", "field": "c", "values": ["5.0"]},
     's — EnumCount of c: the value "5.0" matched no record, but the column c holds the same '
     'number written differently (e.g. line 2: "5", read as 5)'),
])
def test_report_warnings_are_the_tools_and_python_warnings(column, statistic, message):
    job = stattree.Job(statistics={"s": statistic})
    with pytest.warns(UserWarning) as issued:
        report = job.run(pd.DataFrame({"c": column}))
    assert [w["message"] for w in report.warnings] == [message]
    assert [str(w.message) for w in issued] == [message]
