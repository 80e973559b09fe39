"""Validates documents against JSON Schemas with Debian's python3-jsonschema,
for the tests that hold the schema the library writes to what its reader
reads. Usage (Debian's interpreter, which has the package):
    /usr/bin/python3 json_schema_validate.py SCHEMA DOCUMENTS [SCHEMA DOCUMENTS]...
Each SCHEMA holds a JSON Schema, the DOCUMENTS after it one JSON text a line.
Prints one line per document, in order: "valid", or "invalid WHERE: WHY" for
the first error met. Exits 3 when python3-jsonschema is missing, 2 when a
schema is no valid draft 2020-12 schema or a line is not JSON.
"""

import json
import sys

try:
    from jsonschema import Draft202012Validator
    from jsonschema.exceptions import SchemaError
except ImportError:
    print("python3-jsonschema is missing: run scripts/install-deps.sh", file=sys.stderr)
    sys.exit(3)


def not_json(name):
    raise ValueError(f"{name} is not JSON")


def validate(schema_path, documents_path):
    with open(schema_path, encoding="utf-8") as f:
        schema = json.load(f)
    try:
        Draft202012Validator.check_schema(schema)
    except SchemaError as e:
        print(f"{schema_path}: not a draft 2020-12 schema: {e.message}", file=sys.stderr)
        return False
    validator = Draft202012Validator(schema)
    with open(documents_path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            try:
                document = json.loads(line, parse_constant=not_json)
            except ValueError as e:
                print(f"{documents_path}: line {number}: {e}", file=sys.stderr)
                return False
            error = next(validator.iter_errors(document), None)
            if error is None:
                print("valid")
            else:
                where = "/".join(str(p) for p in error.absolute_path) or "(document)"
                why = " ".join(error.message.split())
                print(f"invalid {where}: {why[:240]}")
    return True


def main():
    # Messages quote the values, lone surrogates included.
    sys.stdout.reconfigure(errors="backslashreplace")
    pairs = sys.argv[1:]
    for i in range(0, len(pairs) - 1, 2):
        if not validate(pairs[i], pairs[i + 1]):
            return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
