"""The schemas of docs/schema for the test programs in Python."""
import functools
import json
import pathlib

import jsonschema

FOLDER = pathlib.Path(__file__).parents[2] / "docs" / "schema"


@functools.cache
def bundle():
    """Returns all schemas in one, so that no version of jsonschema loads references from the network."""

    def load(path):
        def absolute(value):
            if not isinstance(value.get("$ref"), str):
                return value
            file, _, pointer = value["$ref"].partition("#")
            return {**value, "$ref": f"#/$defs/{file or path.name}{pointer}"}

        return json.loads(path.read_text(), object_hook=absolute)

    return {path.name: load(path) for path in FOLDER.glob("*.schema.json")}


@functools.cache
def validator(place):
    """Returns the validator of a schema, or of a part of it."""
    schema = {"$ref": "#/$defs/" + place, "$defs": bundle()}
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def errors(document, name, pointer=""):
    """Returns how a document differs from a schema, or from a part of it such as "/$defs/error"."""
    return validator(f"{name}.schema.json{pointer}").iter_errors(document)
