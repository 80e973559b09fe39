"""The package under test is the one on PYTHONPATH, which ctest points at the
build tree, a staged install or an unpacked .deb; the tool beside it gives
the documents and the output to compare with. ctest sets:
    GCUSCHEMA_TEST_PACKAGE  the gcuschema directory that must be imported
    GCUSCHEMA_TEST_LIBRARY  the libgcuschema_document that must be loaded
    GCUSCHEMA_TEST_TOOL     the gcuschema tool of the same tree
"""

import os
import subprocess

import pytest


def _setting(name):
    value = os.environ.get(name)
    if not value:
        pytest.exit("%s is not set; run the suite through ctest (ctest -R Python)" % name, returncode=2)
    return value


@pytest.fixture(scope="session")
def tool():
    return _setting("GCUSCHEMA_TEST_TOOL")


@pytest.fixture(scope="session")
def expected_package():
    return _setting("GCUSCHEMA_TEST_PACKAGE")


@pytest.fixture(scope="session")
def expected_library():
    return _setting("GCUSCHEMA_TEST_LIBRARY")


@pytest.fixture(scope="session")
def run_tool(tool):
    """Runs the tool, returning its standard output as bytes; `check` False
    gives the whole CompletedProcess."""
    def run(*args, data=None, check=True):
        result = subprocess.run([tool, *args], input=data, capture_output=True, check=False)
        if check and result.returncode != 0:
            raise AssertionError("gcuschema %s exited %d: %s" % (" ".join(args), result.returncode,
                                                                  result.stderr.decode()))
        return result.stdout if check else result
    return run


@pytest.fixture(scope="session")
def sample(run_tool):
    """The tool's sample ConfigData, encoded."""
    return run_tool("sample", "--inputs", "24")
