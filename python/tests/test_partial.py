"""Partials: consecutive slices of a frame, merged in order, report what one
run over the whole frame reports; the same across processes with Dask."""
import pickle
import warnings

import pandas as pd
import pytest

import stattree
from conftest import EXAMPLES
from test_run import COLUMNS, EVERY_TYPE, frame_of


def _quiet():
    """Silences the report warnings that run and merge issue."""
    catch = warnings.catch_warnings()
    warnings.simplefilter("ignore")  # applies once entered
    return catch


def assert_same_report(merged, whole, path="report"):
    """Equal, reals up to the last digits: partials add in another order."""
    if isinstance(whole, float) and isinstance(merged, float):
        assert merged == pytest.approx(whole, rel=1e-12, abs=1e-300), path
    elif isinstance(whole, dict):
        assert isinstance(merged, dict) and merged.keys() == whole.keys(), path
        for key in whole:
            assert_same_report(merged[key], whole[key], f"{path}.{key}")
    elif isinstance(whole, list):
        assert isinstance(merged, list) and len(merged) == len(whole), path
        for i, (m, w) in enumerate(zip(merged, whole)):
            assert_same_report(m, w, f"{path}[{i}]")
    else:
        assert merged == whole, path


def slices(frame, cuts):
    edges = [0, *cuts, len(frame)]
    return [frame.iloc[a:b] for a, b in zip(edges, edges[1:])]


@pytest.mark.parametrize("kind", list(COLUMNS))
def test_slices_merged_in_order_report_as_one_run(kind):
    job = stattree.Job(tree=["g"], statistics=EVERY_TYPE)
    frame = frame_of(COLUMNS[kind])
    with _quiet():
        whole = job.run(frame).to_dict()
        for cuts in ([], [3], [1, 4], [0, 2, 5], [1, 2, 3, 4, 5]):
            partials = [job.partial(part) for part in slices(frame, cuts)]
            assert_same_report(stattree.merge(partials).to_dict(), whole, f"{kind} {cuts}")


def test_warnings_keep_the_first_example_and_its_line():
    job = stattree.Job(tree=[], statistics={
        "Total": {"type": "Sum", "field": "x"},
        "Fives": {"type": "EnumCount", "field": "y", "values": ["5.0"]},
    })
    frame = pd.DataFrame({"x": [1, 2, "n/a", 4, "?", 6], "y": [1, 2, 3, 5, 5, 7]})
    with _quiet():
        whole = job.run(frame).to_dict()
        assert len(whole["warnings"]) == 2
        for cuts in ([2], [3], [4], [1, 3, 5]):
            partials = [job.partial(part) for part in slices(frame, cuts)]
            assert stattree.merge(partials).to_dict() == whole, cuts


def test_partials_pickle_and_combine_in_steps():
    job = stattree.Job.from_file(f"{EXAMPLES}/sales.json")
    frame = pd.read_csv(f"{EXAMPLES}/sales.csv").iloc[:3000]
    partials = [job.partial(part) for part in slices(frame, [500, 1000, 2200])]
    travelled = pickle.loads(pickle.dumps(partials))
    with _quiet():
        whole = job.run(frame).to_dict()
        combined = [stattree._combine(travelled[:2]), stattree._combine(travelled[2:])]
        assert_same_report(stattree.merge(combined).to_dict(), whole)


def test_partials_that_do_not_belong_together_are_refused():
    job = stattree.Job(tree=["g"], statistics={"N": {"type": "Count"}})
    other = stattree.Job(tree=[], statistics={"N": {"type": "Count"}})
    frame = pd.DataFrame({"g": ["a", "b"], "x": [1, 2]})
    good = job.partial(frame)
    cases = {
        "no partials": ([], "no partial results to merge"),
        "another job": ([good, other.partial(frame)], "partial 2 belongs to another job"),
        "other columns": ([good, job.partial(frame.rename(columns={"x": "y"}))],
                          "partial result 2 comes from a frame with other columns"),
        "damaged": ([good, stattree.Partial(job, good._data[:-3])], "partial result 2"),
    }
    for name, (partials, message) in cases.items():
        with pytest.raises(stattree.JobError, match=message):
            stattree.merge(partials)
    with pytest.raises(TypeError):
        stattree.merge([good, b"bytes"])


def test_a_dask_run_over_several_files_reports_as_one_run(tmp_path):
    dd = pytest.importorskip("dask.dataframe")
    distributed = pytest.importorskip("distributed")
    job = stattree.Job.from_file(f"{EXAMPLES}/sales.json")
    source = pd.read_csv(f"{EXAMPLES}/sales.csv", dtype=str, keep_default_na=False)
    files = []
    for i, part in enumerate(slices(source, [9000, 20000, 41000])):
        path = tmp_path / f"sales-{i}.csv"
        part.to_csv(path, index=False)
        files.append(str(path))
    dtypes = {"year": "int64", "quantity": "int64", "unit_price": "float64",
              "amount": "float64"}
    frame = pd.concat([pd.read_csv(f, dtype=dtypes) for f in files], ignore_index=True)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  host="127.0.0.1", dashboard_address=None) as cluster, \
            distributed.Client(cluster):
        ddf = dd.read_csv(files, dtype=dtypes, blocksize=None)
        assert ddf.npartitions == 4
        with _quiet():
            report = stattree.dask.run(job, ddf, split_every=2)
    with _quiet():
        assert_same_report(report.to_dict(), job.run(frame).to_dict())
    assert report.root.child("Europe").statistic("Orders").value == \
        int((frame["region"] == "Europe").sum())


