"""Checks the JSON Schema of any record that the C interface gives
(gcuschema_json_schema with no record), called from Python through ctypes,
with the validator an editor would use: the sample document of each of the
four document records, decoded with its "@type", is valid; the same with a
field its record lacks, or without "@type", or naming another record, is
not. Run with Debian's interpreter and its python3-jsonschema:
    /usr/bin/python3 any_record_schema_check.py LIBGCUSCHEMA_DOCUMENT TOOL
"""

import copy
import ctypes
import json
import subprocess
import sys

try:
    from jsonschema import Draft202012Validator
except ImportError:
    sys.exit("python3-jsonschema is missing: run scripts/install-deps.sh")

library_path, tool = sys.argv[1], sys.argv[2]
library = ctypes.CDLL(library_path)
library.gcuschema_json_schema.argtypes = [ctypes.c_char_p, ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p),
                                          ctypes.POINTER(ctypes.c_size_t), ctypes.c_void_p]
library.gcuschema_json_schema.restype = ctypes.c_int
library.gcuschema_buffer_free.argtypes = [ctypes.c_void_p]

text = ctypes.c_void_p()
size = ctypes.c_size_t()
status = library.gcuschema_json_schema(None, None, ctypes.byref(text), ctypes.byref(size), None)
if status != 0:
    sys.exit(f"gcuschema_json_schema(NULL) returned status {status}")
schema = json.loads(ctypes.string_at(text, size.value))
library.gcuschema_buffer_free(text)
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(schema)

failures = []
checked = 0


def run(*args, data=None):
    result = subprocess.run([tool, *args], input=data, capture_output=True, check=False)
    if result.returncode != 0:
        sys.exit(f"gcuschema {' '.join(args)} failed: {result.stderr.decode()}")
    return result.stdout


def expect(what, document, valid):
    global checked
    checked += 1
    errors = [e.message[:160] for e in validator.iter_errors(document)]
    if valid and errors:
        failures.append(f"{what}: expected valid, got {errors[:3]}")
    if not valid and not errors:
        failures.append(f"{what}: expected to be flagged, but it is valid")


for record, other in (("ConfigData", "CalibrationData"), ("DeviceData", "ConfigData"),
                      ("CalibrationData", "ConfigData"), ("CalibrationTemplateData", "CalibrationData")):
    encoded = run("sample", "--type", record, "--inputs", "24")
    document = json.loads(run("decode", "--type", record, "-", data=encoded))
    if document.get("@type") != record:
        sys.exit(f"the decoded {record} does not name its record: {document.get('@type')}")
    expect(f"the sample {record}", document, True)
    wrong = copy.deepcopy(document)
    wrong["noSuchField"] = 1
    expect(f"{record} with a field it lacks", wrong, False)
    unnamed = copy.deepcopy(document)
    del unnamed["@type"]
    expect(f"{record} without \"@type\"", unnamed, False)
    misnamed = copy.deepcopy(document)
    misnamed["@type"] = other
    expect(f"{record} named a {other}", misnamed, False)

for failure in failures:
    print("FAILED:", failure)
print(f"{checked - len(failures)} of {checked} checks passed")
sys.exit(1 if failures else 0)
