#!/usr/bin/python3
"""Checks JSON files against the schemas of docs/schema: check-json.py FILE...

A file is named like its schema, as in list.json or list.2.json, and contains documents one after the other. Prints
what does not fit, and a file without a document; exits with 1 then.
"""
import json
import pathlib
import sys

import schemas


def documents(text):
    """Yields the documents of a text."""
    while text := text.lstrip():
        document, end = json.JSONDecoder().raw_decode(text)
        yield document
        text = text[end:]


def complaints(path):
    """Yields what is wrong with a file."""
    found = list(documents(path.read_text()))
    if not found:
        yield "no document"
    for document in found:
        for error in schemas.errors(document, path.name.split(".")[0]):
            yield f"{error.json_path}: {error.message}"


faults = [f"{path}: {fault}" for path in map(pathlib.Path, sys.argv[1:]) for fault in complaints(path)]
print("\n".join(faults), end="\n" if faults else "")
sys.exit(1 if faults else 0)
