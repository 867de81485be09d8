"""The CSV report in pandas and the HTML report in headless Chromium, both on
the example sales data, checked against the tool's own JSON report.

Run by CTest with STATTREE_TOOL (the built tool), STATTREE_EXAMPLES (the
examples folder) and STATTREE_ARTEFACTS (where the rendered page and its
screenshot are kept) in the environment.
"""
import html.parser
import json
import os
import shutil
import subprocess
import tempfile

import pandas
import pytest

TOOL = os.environ.get("STATTREE_TOOL", "")
EXAMPLES = os.environ.get("STATTREE_EXAMPLES", "")
ARTEFACTS = os.environ.get("STATTREE_ARTEFACTS", tempfile.gettempdir())


def run_tool(fmt, output):
    subprocess.run(
        [TOOL, "run", os.path.join(EXAMPLES, "sales.csv"), "--job",
         os.path.join(EXAMPLES, "sales.json"), "--format", fmt, "--output", output, "--quiet"],
        check=True, timeout=120)


@pytest.fixture(scope="module")
def report(tmp_path_factory):
    path = str(tmp_path_factory.mktemp("json") / "sales.json")
    run_tool("json", path)
    with open(path, encoding="utf-8") as f:
        return json.load(f)


def nodes(node):
    yield node
    for child in node["children"]:
        yield from nodes(child)


def test_csv_loads_into_pandas_ready_to_pivot(report, tmp_path):
    path = str(tmp_path / "sales.csv")
    run_tool("csv", path)
    table = pandas.read_csv(path)
    assert list(table.columns) == [
        "region", "statistic", "type", "field", "subset", "grouping", "total", "channel", "bin",
        "value", "status", "records"]
    assert table["total"].dtype == bool
    assert table["value"].dtype == float
    assert set(table["status"]) == {"ok"}

    # One row per node, statistic, combination and bin (and N/A bin).
    expected_rows = 0
    for node in nodes(report["root"]):
        for statistic in node["statistics"].values():
            for combination in statistic["combinations"] + [statistic["total"]]:
                if "distribution" not in combination:
                    expected_rows += 1
                else:
                    expected_rows += len(combination["distribution"])
                    expected_rows += combination["not_available"] is not None
    assert len(table) == expected_rows

    # A pivot straight from the file: revenue by region and channel.
    revenue = table[(table["statistic"] == "Revenue") & ~table["total"]]
    pivot = revenue.pivot_table(index="region", columns="channel", values="value",
                                aggfunc="sum")
    for child in report["root"]["children"]:
        for combination in child["statistics"]["Revenue"]["combinations"]:
            if combination["group"] == [""]:
                continue
            got = pivot.loc[child["value"], combination["group"][0]]
            assert got == pytest.approx(combination["result"], rel=1e-12)

    quarters = table[table["statistic"] == "Orders by quarter"].pivot_table(
        index="region", columns="bin", values="value", aggfunc="sum")
    europe = next(c for c in report["root"]["children"] if c["value"] == "Europe")
    assert list(quarters.loc["Europe", ["Q1", "Q2", "Q3", "Q4"]]) == \
        europe["statistics"]["Orders by quarter"]["total"]["distribution"]


class Census(html.parser.HTMLParser):
    """Counts node sections and charts, and reads the root element's marks."""

    def __init__(self):
        super().__init__()
        self.nodes = 0
        self.charts = 0
        self.root = {}

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        classes = (attrs.get("class") or "").split()
        if tag == "html":
            self.root = attrs
        if tag == "details" and "node" in classes:
            self.nodes += 1
        if tag == "figure" and "chart" in classes:
            self.charts += 1


def chromium(*args):
    browser = shutil.which("chromium")
    assert browser, "chromium is missing: scripts/install-deps.sh installs it for make test"
    with tempfile.TemporaryDirectory() as profile:
        # --no-sandbox: CI runs as root, where the sandbox refuses to start.
        return subprocess.run(
            [browser, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
             "--hide-scrollbars", "--user-data-dir=" + profile, "--enable-logging=stderr",
             "--v=0", *args],
            capture_output=True, text=True, timeout=120, check=True)


def test_html_report_renders_in_chromium(report):
    os.makedirs(ARTEFACTS, exist_ok=True)
    page = os.path.join(ARTEFACTS, "sales.html")
    run_tool("html", page)
    with open(page, encoding="utf-8") as f:
        source = f.read()
    assert "http://" not in source.replace('xmlns="http://www.w3.org/2000/svg"', "")
    assert "https://" not in source

    loaded = chromium("--dump-dom", "file://" + page)
    census = Census()
    census.feed(loaded.stdout)
    assert census.root.get("data-ready") == "1", "the page's script did not run to its end"
    assert "data-errors" not in census.root, census.root.get("data-errors")
    assert ":CONSOLE" not in loaded.stderr, loaded.stderr

    all_nodes = list(nodes(report["root"]))
    assert census.nodes == len(all_nodes)
    distributions = sum("bins" in s for n in all_nodes for s in n["statistics"].values())
    assert distributions > 0
    assert census.charts == distributions

    screenshot = os.path.join(ARTEFACTS, "sales.png")
    if os.path.exists(screenshot):
        os.remove(screenshot)
    chromium("--window-size=1000,1300", "--screenshot=" + screenshot, "file://" + page)
    with open(screenshot, "rb") as f:
        png = f.read()
    assert png.startswith(b"\x89PNG\r\n\x1a\n")
    assert len(png) > 20000, "the screenshot looks blank"
