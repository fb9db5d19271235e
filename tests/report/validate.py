"""Validates JSON files against a JSON Schema: validate.py SCHEMA FILE...

Prints a line for each fault; the status is 1 when there is one.
"""

import json
import sys

import jsonschema


def faults_of(schema, file):
    with open(file, encoding="utf-8") as text:
        report = json.load(text)
    validator = jsonschema.Draft202012Validator(schema)
    for fault in validator.iter_errors(report):
        yield f"{file}: {'/'.join(map(str, fault.absolute_path))}: {fault.message[:200]}"


def main(schema_file, files):
    with open(schema_file, encoding="utf-8") as text:
        schema = json.load(text)
    jsonschema.Draft202012Validator.check_schema(schema)
    faults = [fault for file in files for fault in faults_of(schema, file)]
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main(sys.argv[1], sys.argv[2:]))
