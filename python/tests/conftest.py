"""Shared fixtures: the built tool and the example data, as CTest passes them."""
import json
import os
import subprocess

import pytest

EXAMPLES = os.environ.get("STATTREE_EXAMPLES",
                          os.path.join(os.path.dirname(__file__), "..", "..", "examples"))


@pytest.fixture(scope="session")
def tool():
    """Runs the built command-line tool; returns (exit code, stdout, stderr)."""
    path = os.environ.get("STATTREE_TOOL")
    if not path:
        pytest.skip("STATTREE_TOOL is not set (run through ctest)")

    def run(*args, cwd=None):
        done = subprocess.run([path, *args], capture_output=True, text=True, cwd=cwd)
        return done.returncode, done.stdout, done.stderr

    return run


@pytest.fixture(scope="session")
def tool_json(tool):
    """The tool's JSON report of DATA with JOB, run from `cwd`."""

    def run(data, job, *options, cwd=None):
        code, out, err = tool("run", data, "--job", job, "--format", "json", *options, cwd=cwd)
        assert code == 0, err
        return json.loads(out)

    return run
