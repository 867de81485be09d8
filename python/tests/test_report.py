"""Navigating a report and its tidy frame, against its own dict."""
import json
import pickle

import pandas as pd
import pytest

import stattree
from conftest import EXAMPLES
from test_run import EVERY_TYPE


@pytest.fixture(scope="module")
def sales():
    job = stattree.Job.from_file(f"{EXAMPLES}/sales.json")
    return job.run_csv(f"{EXAMPLES}/sales.csv")


def test_navigation_reads_the_report(sales):
    document = sales.to_dict()
    europe_doc = next(c for c in document["root"]["children"] if c["value"] == "Europe")
    europe = sales.root.child("Europe")
    assert (europe.field, europe.value, europe.records) == ("region", "Europe",
                                                            europe_doc["records"])
    revenue = europe.statistic("Revenue")
    revenue_doc = europe_doc["statistics"]["Revenue"]
    assert revenue.value == revenue_doc["total"]["result"]
    assert revenue.groupings == {c["group"][0]: c["result"] for c in revenue_doc["combinations"]}
    assert list(revenue.groupings) == ["Online", "Partner", "Retail", ""]
    sizes = europe.statistic("Order sizes")
    assert sizes.bins[0] == "< 25" and list(sizes.value) == sizes.bins
    assert sum(sizes.value.values()) + sizes.not_available == europe.records
    assert list(europe.statistics) == list(document["root"]["statistics"])
    assert [c.value for c in sales.root.children] == [c["value"] for c in
                                                      document["root"]["children"]]
    with pytest.raises(KeyError):
        sales.root.child("Atlantis")


def test_children_are_found_by_number():
    frame = pd.DataFrame({"year": [2023, 2024, 2024], "x": [1.5, 2.0, 2.5],
                          "a": ["u", "v", "u"], "b": [1, 1, 2]})
    job = stattree.Job(tree=["year", "x"], statistics={
        "n": {"type": "Count", "grouping": {"fields": ["a", "b"]}}})
    root = job.run(frame).root
    assert root.child(2024).records == 2
    assert root.child(2024.0).child(2.5).records == 1
    assert root.child("2024").statistic("n").groupings == {("u", "2"): 1, ("v", "1"): 1}


def test_to_frame_has_a_row_per_node_statistic_combination_and_bin(sales):
    frame = sales.to_frame()
    assert list(frame.columns) == ["region", "statistic", "type", "group", "bin", "records",
                                   "value"]
    document = sales.to_dict()
    nodes = 1 + len(document["root"]["children"])
    # Per node: 7 scalars, Revenue's 4 channels and total, (4 + N/A) quarters,
    # 3 channel shares, (6 + N/A) order sizes.
    assert frame.shape == (nodes * (7 + 5 + 5 + 3 + 7), 7)
    root = frame[frame["region"].isna()]
    europe = frame[frame["region"] == "Europe"]
    assert len(root) == len(europe) == 27
    online = europe[(europe["statistic"] == "Revenue") & (europe["group"] == ("Online",))]
    assert online["value"].item() == sales.root.child("Europe").statistic("Revenue") \
        .groupings["Online"]
    total = europe[(europe["statistic"] == "Revenue") & europe["group"].isna()]
    assert total["records"].item() == sales.root.child("Europe").records
    quarters = root[root["statistic"] == "Orders by quarter"]
    assert list(quarters["bin"]) == ["Q1", "Q2", "Q3", "Q4", "N/A"]
    shares = root[root["statistic"] == "Channel share 2024"]
    assert shares["value"].sum() == pytest.approx(100.0)


def test_to_frame_renames_tree_fields_named_like_its_columns():
    frame = pd.DataFrame({"value": ["a", "b"], "x": [1, 2]})
    job = stattree.Job(tree=["value"], statistics={"s": {"type": "Sum", "field": "x"}})
    tidy = job.run(frame).to_frame()
    assert list(tidy.columns) == ["value_", "statistic", "type", "group", "bin", "records",
                                  "value"]
    assert list(tidy["value"]) == [3, 1, 2]


def test_dict_json_and_pickle_agree_with_the_tool_also_on_bytes_not_utf8(tmp_path, tool_json):
    # The dict is built apart from the JSON text: both must be what the
    # tool writes, bytes that are not UTF-8 (replaced) and invalid results
    # included.
    csv = tmp_path / "data.csv"
    csv.write_bytes(b"g,x\ncaf\xe9,1\ncaf\xe9,abc\nna\xefve\xff,2.5\n,\n")
    job_file = tmp_path / "job.json"
    job_file.write_text(json.dumps({"tree": ["g"], "statistics": EVERY_TYPE}))
    report = stattree.Job.from_file(str(job_file)).run_csv(str(csv))
    got = report.to_dict()
    assert got == json.loads(report.to_json())
    assert got == tool_json(str(csv), str(job_file))
    assert "caf\ufffd" in [child["value"] for child in got["root"]["children"]]
    travelled = pickle.loads(pickle.dumps(report))
    assert travelled.to_dict() == got and travelled.to_json() == report.to_json()
