"""Checks the JSON Schema that `gcuschema schemas --json-schema` writes with
the validator an editor would use: every sample document, decoded (settings
expanded), is valid against the schema of its record, and a wrong field, a
wrong "@type" and a wrong value are flagged. Run with Debian's interpreter
and its python3-jsonschema:
    /usr/bin/python3 json_schema_check.py TOOL
"""

import copy
import json
import subprocess
import sys

try:
    from jsonschema import Draft202012Validator
except ImportError:
    # 77: ctest reports the test skipped (SKIP_RETURN_CODE), never passed.
    print("skipped: python3-jsonschema is missing: run scripts/install-deps.sh", file=sys.stderr)
    sys.exit(77)

DOCUMENTS = ("ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData")

failures = []


def run(tool, *args, data=None):
    result = subprocess.run([tool, *args], input=data, capture_output=True, check=False)
    if result.returncode != 0:
        sys.exit(f"gcuschema {' '.join(args)} failed: {result.stderr.decode()}")
    return result.stdout


def errors(validator, document):
    return [f"{'/'.join(str(p) for p in e.absolute_path) or '(root)'}: {e.message[:160]}"
            for e in validator.iter_errors(document)]


def expect_valid(what, validator, document):
    found = errors(validator, document)
    if found:
        failures.append(f"{what}: expected valid, got {found[:3]}")


def expect_flagged(what, validator, document, at):
    """Some error must be reported at `at` (a path such as "inputs/0")."""
    found = errors(validator, document)
    if not any(e.startswith(at + ":") for e in found):
        failures.append(f"{what}: expected an error at {at}, got {found[:3]}")


def first(entries, test):
    for index, entry in enumerate(entries):
        if test(entry):
            return index
    sys.exit("the sample lacks an entry the checks need")


def config_checks(validator, document):
    # A field the record does not have, at the document and inside settings.
    wrong = copy.deepcopy(document)
    wrong["inputs"][0]["aliass"] = "typo"
    expect_flagged("unknown field in an input", validator, wrong, "inputs/0")
    adc = first(document["inputs"], lambda e: e.get("type", 0) == 0 and isinstance(e.get("config"), dict))
    wrong = copy.deepcopy(document)
    wrong["inputs"][adc]["config"]["inMinValu"] = 3
    expect_flagged("unknown field in settings", validator, wrong, f"inputs/{adc}/config")

    # "@type" must name the record the type code pairs, or the document's.
    wrong = copy.deepcopy(document)
    wrong["inputs"][adc]["config"] = {"@type": "DutyInConfiguration"}
    expect_flagged("settings of another type code", validator, wrong, f"inputs/{adc}/config")
    right = copy.deepcopy(document)
    right["inputs"][adc]["config"] = {"@type": "AdcConfiguration"}
    expect_valid("settings of their type code", validator, right)
    wrong = copy.deepcopy(document)
    wrong["inputs"][adc]["config"] = {"range": "range12V"}
    expect_flagged("settings without @type", validator, wrong, f"inputs/{adc}/config")
    wrong = copy.deepcopy(document)
    wrong["@type"] = "DeviceData"
    expect_flagged("top-level @type of another record", validator, wrong, "@type")
    right = copy.deepcopy(document)
    right["@type"] = "ConfigData"
    expect_valid("top-level @type of the record", validator, right)
    mapped = first(document["maps"], lambda e: isinstance(e.get("config"), dict))
    wrong = copy.deepcopy(document)
    wrong["maps"][mapped]["config"]["@type"] = "Map2D"
    expect_flagged("map table of another record", validator, wrong, f"maps/{mapped}/config")

    # Enumerations by name or number; a name that is not one is flagged.
    right = copy.deepcopy(document)
    right["inputs"][adc]["config"]["range"] = 2
    right["units"]["pressureUnit"] = "Bar"
    expect_valid("enumeration by number", validator, right)
    wrong = copy.deepcopy(document)
    wrong["units"]["pressureUnit"] = "bars"
    expect_flagged("enumeration name that is not one", validator, wrong, "units/pressureUnit")

    # Both spellings of a field, not both at once; bytes in base64;
    # unknown fields kept as "@unknown".
    current = first(document["outputs"], lambda e: e.get("type") == 3 and isinstance(e.get("config"), dict))
    right = copy.deepcopy(document)
    right["outputs"][current]["config"]["Unused1"] = 4
    right["outputs"][current]["config"]["@unknown"] = "qAYB"
    expect_valid("JSON name of a field", validator, right)
    right["outputs"][current]["config"].pop("Unused1")
    right["outputs"][current]["config"]["__unused1"] = 4
    expect_valid("schema name of a field", validator, right)
    right["outputs"][current]["config"]["Unused1"] = 4
    expect_flagged("both names of a field", validator, right, f"outputs/{current}/config")
    wrong = copy.deepcopy(document)
    wrong["inputs"][0]["config"] = "not base64!"
    expect_flagged("bytes that are not base64", validator, wrong, "inputs/0/config")
    wrong = copy.deepcopy(document)
    wrong["inputs"][0]["minValue"] = "lots"
    expect_flagged("float given as text", validator, wrong, "inputs/0/minValue")
    right = copy.deepcopy(document)
    right["inputs"][0]["minValue"] = "NaN"
    expect_valid("float NaN", validator, right)


def main():
    tool = sys.argv[1]
    for record in DOCUMENTS:
        schema = json.loads(run(tool, "schemas", "--json-schema", record))
        Draft202012Validator.check_schema(schema)
        validator = Draft202012Validator(schema)
        sample = run(tool, "sample", "--type", record)
        document = json.loads(run(tool, "decode", "--type", record, data=sample))
        expect_valid(f"the {record} sample", validator, document)
        if record == "ConfigData":
            config_checks(validator, document)
        if record == "DeviceData":
            wrong = copy.deepcopy(document)
            wrong["config"]["inputs"][0]["aliass"] = "typo"
            expect_flagged("unknown field in a DeviceData's config", validator, wrong, "config")
    if failures:
        sys.exit("\n".join(failures))
    print(f"{len(DOCUMENTS)} samples valid, mistakes flagged")


if __name__ == "__main__":
    main()
