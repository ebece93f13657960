#!/usr/bin/env python3
"""Checks a file of JSON Lines against docs/results.schema.json: every whole line, every member (one
that the schema does not name is an error here), and the order of the lines. A run may follow another
that it goes on with.

  validate_lines.py SCHEMA FILE

Prints "CONTEXTS ROWS ENDS LINES_CUT" or the first breach, with exit code 1.
"""
import json
import re
import sys

TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None)}


def is_type(value, name):
    if name in ("number", "integer"):
        whole = isinstance(value, int) or (name == "number" and isinstance(value, float))
        return whole and not isinstance(value, bool)
    return isinstance(value, TYPES[name])


class Validator:
    def __init__(self, schema):
        self.root = schema

    def breach(self, value, schema, path=""):
        """The first breach in words; empty: there is none."""
        if "$ref" in schema:
            target = self.root
            for part in schema["$ref"][2:].split("/"):
                target = target[part]
            return self.breach(value, target, path)
        if "oneOf" in schema:
            found = [self.breach(value, option, path) for option in schema["oneOf"]]
            return "" if found.count("") == 1 else "%s fits none: %s" % (path, found)
        names = schema.get("type", [])
        names = [names] if isinstance(names, str) else names
        if names and not any(is_type(value, name) for name in names):
            return "%s is no %s: %r" % (path, names, value)
        if "const" in schema and value != schema["const"]:
            return "%s is %r" % (path, value)
        if "enum" in schema and value not in schema["enum"]:
            return "%s is %r" % (path, value)
        if value is None:
            return ""
        if "minimum" in schema and value < schema["minimum"]:
            return "%s is %r" % (path, value)
        if "maximum" in schema and value > schema["maximum"]:
            return "%s is %r" % (path, value)
        if "pattern" in schema and not re.search(schema["pattern"], value):
            return "%s is %r" % (path, value)
        if isinstance(value, list):
            return self.list_breach(value, schema, path)
        return self.object_breach(value, schema, path) if isinstance(value, dict) else ""

    def list_breach(self, value, schema, path):
        if len(value) < schema.get("minItems", 0):
            return path + " is too short"
        for i, item in enumerate(value):
            found = self.breach(item, schema.get("items", {}), "%s[%d]" % (path, i))
            if found:
                return found
        return ""

    def object_breach(self, value, schema, path):
        for name in schema.get("required", []):
            if name not in value:
                return "%s lacks %s" % (path, name)
        known = schema.get("properties", {})
        for name, member in value.items():
            rule = known.get(name, schema.get("additionalProperties"))
            if rule is None:
                return "%s.%s is not in the schema" % (path, name)
            found = self.breach(member, rule, path + "." + name)
            if found:
                return found
        return ""


def refuse_constant(word):
    raise ValueError("no JSON: " + word)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        validator = Validator(json.load(file))
    with open(sys.argv[2], "rb") as file:
        lines = file.read().split(b"\n")
    cut = lines.pop()
    counts = {"context": 0, "row": 0, "comparison": 0, "end": 0}
    last = ""
    for number, line in enumerate(lines, 1):
        value = json.loads(line.decode("utf-8"), parse_constant=refuse_constant)
        found = validator.breach(value, validator.root, "")
        if found:
            sys.exit("line %d: %s" % (number, found))
        begins = number == 1 or "resumed" in value
        if begins != (value["type"] == "context") or (last == "end" and not begins):
            sys.exit("line %d: %s in the wrong place" % (number, value["type"]))
        samples = value.get("samples")
        if samples and len({len(column) for column in samples.values()}) != 1:
            sys.exit("line %d: columns of samples differ in length" % number)
        last = value["type"]
        counts[last] += 1
    rows = counts["row"] + counts["comparison"]
    print(counts["context"], rows, counts["end"], 1 if cut else 0)


main()
