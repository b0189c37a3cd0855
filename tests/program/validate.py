#!/usr/bin/python3
"""Judges JSON by schema/inventory.schema.json: validate.py [--lines] [FILE | URL], standard input without either."""
import json
import pathlib
import sys
import urllib.request

import jsonschema

arguments = sys.argv[1:]
lines = arguments[:1] == ["--lines"]
source = "".join(arguments[lines:])
if source.startswith("http"):
    text = urllib.request.urlopen(source, timeout=10).read()
else:
    text = (open(source, "rb") if source else sys.stdin.buffer).read()

schema = json.loads((pathlib.Path(__file__).parents[2] / "schema/inventory.schema.json").read_text())
jsonschema.Draft202012Validator.check_schema(schema)
if lines:
    schema = {"$ref": "#/$defs/line", "$defs": schema["$defs"]}
validator = jsonschema.Draft202012Validator(schema)
documents = [json.loads(each) for each in (text.splitlines() if lines else [text])]
errors = [error for document in documents for error in validator.iter_errors(document)]
for error in errors:
    print("/".join(map(str, error.absolute_path)), error.message, sep=": ")
print("invalid" if errors or not documents else f"valid: {len(documents)}")
sys.exit(1 if errors or not documents else 0)
