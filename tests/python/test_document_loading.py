"""Where gcuschema.document finds libgcuschema_document: the variable that
overrides the search, the library of the package's own tree, the dynamic
loader's search; and that it needs nothing but the standard library."""

import os
import shutil
import subprocess
import sys

import pytest

import gcuschema
import gcuschema.document

PACKAGE = os.path.dirname(os.path.abspath(gcuschema.__file__))
FILE_NAME = os.path.basename(gcuschema.document.library_path)


def python(code, *, pythonpath=os.path.dirname(PACKAGE), **environment):
    """Runs `code` in a fresh interpreter with the package on `pythonpath`
    and the environment changed as given (None removes a variable)."""
    env = dict(os.environ, PYTHONPATH=pythonpath, PYTHONDONTWRITEBYTECODE="1")
    env.pop("GCUSCHEMA_DOCUMENT_LIBRARY", None)
    for name, value in environment.items():
        if value is None:
            env.pop(name, None)
        else:
            env[name] = value
    return subprocess.run([sys.executable, "-P", "-c", code], env=env, capture_output=True, text=True, check=False)


SHOW = "import gcuschema.document as d; print(d.library_path); print(d.to_json(b'\\x08\\x03', 'ConfigData', indent=0))"


def test_the_package_is_the_one_under_test(expected_package):
    assert os.path.samefile(PACKAGE, expected_package)


def test_the_library_is_the_one_of_the_packages_own_tree(expected_library):
    assert os.path.samefile(gcuschema.document.library_path, expected_library)
    assert os.path.isabs(gcuschema.document.library_path)
    assert gcuschema.document.library_version().count(".") == 2


def test_the_environment_variable_names_the_library_or_its_directory(tmp_path):
    library = gcuschema.document.library_path
    copy = tmp_path / "elsewhere"
    copy.mkdir()
    for name in os.listdir(os.path.dirname(library)):
        if name.startswith(("libgcuschema_document.so", "libgcuschema.so")):
            shutil.copy(os.path.join(os.path.dirname(library), name), copy / name)
    by_file = python(SHOW, GCUSCHEMA_DOCUMENT_LIBRARY=str(copy / FILE_NAME))
    assert by_file.returncode == 0, by_file.stderr
    assert by_file.stdout == "%s\n{\"@type\":\"ConfigData\",\"version\":3}\n" % (copy / FILE_NAME)
    by_directory = python(SHOW, GCUSCHEMA_DOCUMENT_LIBRARY=str(copy))
    assert by_directory.returncode == 0, by_directory.stderr
    assert by_directory.stdout.splitlines()[0] == str(copy / FILE_NAME)


def test_a_variable_naming_no_library_is_an_import_error_without_falling_back(tmp_path):
    missing = str(tmp_path / "nothing.so")
    result = python(SHOW, GCUSCHEMA_DOCUMENT_LIBRARY=missing)
    assert result.returncode != 0
    assert ("ImportError: gcuschema.document: GCUSCHEMA_DOCUMENT_LIBRARY names %s, which cannot be loaded (" % missing
            in result.stderr)
    assert "unset it to use the package's own" in result.stderr


def test_a_library_without_the_functions_is_refused():
    result = python(SHOW, GCUSCHEMA_DOCUMENT_LIBRARY="libm.so.6")
    assert result.returncode != 0
    assert ("ImportError: gcuschema.document: libm.so.6 has no function gcuschema_version, so it is not a "
            "libgcuschema_document this package can use") in result.stderr


def test_a_package_away_from_its_library_takes_the_loaders_search(tmp_path):
    site = tmp_path / "site"
    shutil.copytree(PACKAGE, site / "gcuschema", ignore=shutil.ignore_patterns("__pycache__"))
    found = python(SHOW, pythonpath=str(site),
                   LD_LIBRARY_PATH=os.path.dirname(os.path.realpath(gcuschema.document.library_path)))
    assert found.returncode == 0, found.stderr
    assert found.stdout == "%s\n{\"@type\":\"ConfigData\",\"version\":3}\n" % FILE_NAME
    if python("import ctypes; ctypes.CDLL(%r)" % FILE_NAME, LD_LIBRARY_PATH=None).returncode == 0:
        pytest.skip("the system's loader finds %s without LD_LIBRARY_PATH" % FILE_NAME)
    missing = python(SHOW, pythonpath=str(site), LD_LIBRARY_PATH=None)
    assert missing.returncode != 0
    assert "ImportError: gcuschema.document: cannot load the companion library; tried " in missing.stderr
    assert "(not there); %s by the dynamic loader (" % FILE_NAME in missing.stderr
    assert "set GCUSCHEMA_DOCUMENT_LIBRARY to the path of %s, or add its directory" % FILE_NAME in missing.stderr


BLOCK_PROTOBUF = "import sys; sys.modules['google'] = None; "


def test_the_document_module_needs_no_protobuf():
    result = python(BLOCK_PROTOBUF + SHOW)
    assert result.returncode == 0, result.stderr
    assert result.stdout.splitlines()[1] == '{"@type":"ConfigData","version":3}'


def test_settings_class_without_protobuf_says_which_python_to_use():
    result = python(BLOCK_PROTOBUF + "import gcuschema; gcuschema.settings_class('input', 0)")
    assert result.returncode != 0
    assert ("ImportError: gcuschema.settings_class needs the record classes, which need python3-protobuf; this "
            "interpreter (%s) cannot import google" % sys.executable) in result.stderr
    assert ": run Debian's /usr/bin/python3 (apt install python3-protobuf)" in result.stderr
