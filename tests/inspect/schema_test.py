"""Validates what zar_inspect() writes in JSON against its schema, and that the schema refuses what it should.

Usage: schema_test.py INSPECT_TEST SOURCE_DIR
"""
import copy
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import jsonschema


def picture(program):
    """What a repository with one of everything is written as."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "picture.json"
        subprocess.run([program, "--gtest_filter=Inspecting.OneOfEverythingIsWrittenForTheSchema"], check=True,
                       stdout=subprocess.DEVNULL, env={**os.environ, "ZAR_INSPECT_JSON": str(path)})
        return json.loads(path.read_text(encoding="utf-8"))


def validator(folder):
    schemas = {path.name: json.loads(path.read_text()) for path in sorted(folder.glob("*.json"))}
    schema = schemas["inspect.json"]
    jsonschema.Draft7Validator.check_schema(schema)
    resolver = jsonschema.RefResolver(base_uri="inspect.json", referrer=schema, store=schemas)
    return jsonschema.Draft7Validator(schema, resolver=resolver)


def main():
    program, sources = sys.argv[1:]
    valid = validator(pathlib.Path(sources) / "share/schema")
    good = picture(program)
    valid.validate(good)

    kinds = {entry["kind"] for entry in good["objects"]}
    assert kinds == {"policy-map", "class-map", "target", "parameter-map"}, kinds
    for key in good:
        assert not valid.is_valid({name: value for name, value in good.items() if name != key}), f"{key} may be missing"
    for index, entry in enumerate(good["objects"]):
        other = copy.deepcopy(good)
        other["objects"][index]["object"]["unknown"] = 1
        assert not valid.is_valid(other), f"an unknown key of a {entry['kind']} passes"


main()
