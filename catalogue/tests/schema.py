# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Holds JSON to a schema of catalogue/schemas, as far as these go."""

import json
import pathlib
import re
from typing import Any

SCHEMAS = pathlib.Path(__file__).resolve().parent.parent / "schemas"
KINDS: dict[str, Any] = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int}
KNOWN = {
    *("$schema", "$ref", "title", "definitions", "type", "const", "enum", "required", "properties", "items"),
    *("additionalProperties", "minItems", "maxItems", "minLength", "minimum", "maximum", "pattern", "format", "oneOf"),
}


def read(name: str) -> dict[str, Any]:
    schema: dict[str, Any] = json.loads((SCHEMAS / name).read_text(encoding="utf-8"))
    return schema


def differences(value: Any, schema: dict[str, Any], root: dict[str, Any] | None = None, place: str = "") -> list[str]:
    """What of the value is not as the schema has it. A word of the schema that is not known here is an error."""
    root = root or schema
    unknown = set(schema) - KNOWN
    if unknown:
        raise SystemExit(f"the schema has what is not looked at here: {unknown}")
    if "$ref" in schema:
        return differences(value, root["definitions"][schema["$ref"].rsplit("/", 1)[1]], root, place)
    if "oneOf" in schema:
        outcomes = [differences(value, one, root, place) for one in schema["oneOf"]]
        return [] if sum(not one for one in outcomes) == 1 else min(outcomes, key=len) or [f"{place}: two forms"]
    kind = schema.get("type")
    if kind and (not isinstance(value, KINDS[kind]) or (kind == "integer" and isinstance(value, bool))):
        return [f"{place}: no {kind}"]
    found = []
    if "const" in schema and value != schema["const"] or "enum" in schema and value not in schema["enum"]:
        found.append(f"{place}: {value!r}")
    if isinstance(value, str):
        if len(value) < schema.get("minLength", 0) or not re.search(schema.get("pattern", ""), value):
            found.append(f"{place}: {value!r}")
    if isinstance(value, int) and not schema.get("minimum", value) <= value <= schema.get("maximum", value):
        found.append(f"{place}: {value}")
    if isinstance(value, list):
        if len(value) < schema.get("minItems", 0):
            found.append(f"{place}: too few")
        if len(value) > schema.get("maxItems", len(value)):
            found.append(f"{place}: too many")
        for number, item in enumerate(value):
            found += differences(item, schema.get("items", {}), root, f"{place}/{number}")
    if isinstance(value, dict):
        properties = schema.get("properties", {})
        found += [f"{place}: no {name}" for name in schema.get("required", []) if name not in value]
        for name, item in value.items():
            others = schema.get("additionalProperties", True)
            if name in properties or isinstance(others, dict):
                found += differences(item, properties.get(name, others), root, f"{place}/{name}")
            elif not others:
                found.append(f"{place}: {name} is too much")
    return found
