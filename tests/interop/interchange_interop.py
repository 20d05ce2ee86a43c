#!/usr/bin/env python3
"""Interop of the interchange form with two readers that are not ours:
Python's json and the msgpack package (Debian python3-msgpack).

    interchange_interop.py <interchange_tool> <pitool> <docs/interchange.md>

Python reads the format page's examples (as pitool writes them) and random
records as the library writes them, in both formats, and finds the same
document in each; the library reads documents that Python wrote and gives
back the same document."""

import base64
import json
import pathlib
import struct
import subprocess
import sys
import tempfile

try:
    import msgpack
except ImportError:
    sys.exit("python3-msgpack is missing; scripts/install-deps.sh installs it")

TOOL, PITOOL, PAGE = sys.argv[1:4]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAIL:", message)


def run(*args):
    result = subprocess.run(args, capture_output=True)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, args))} failed: {result.stderr.decode()}")
    return result.stdout


def convert(path, to):
    return run(PITOOL, "record", "convert", path, "--to", to)


def walk(value, leaf):
    """`leaf` applied to every value, a dict or list before its items."""
    value = leaf(value)
    if isinstance(value, dict):
        return {key: walk(item, leaf) for key, item in value.items()}
    if isinstance(value, list):
        return [walk(item, leaf) for item in value]
    return value


def as_json(value):
    """The MessagePack form with its bins spelled as in JSON."""
    return walk(value, lambda v: {"Base64": base64.b64encode(v).decode("ascii")}
                if isinstance(v, bytes) else v)


def floats32(value):
    """Floats (the values of kind 8) as the 32-bit floats they stand for:
    MessagePack carries the float itself, JSON its shortest decimal."""
    return walk(value, lambda v: struct.unpack("<f", struct.pack("<f", v))[0]
                if isinstance(v, float) else v)


def same_in_both(name, text, packed):
    from_json = json.loads(text)
    from_pack = msgpack.unpackb(packed, raw=False, strict_map_key=True)
    check(floats32(from_json) == floats32(as_json(from_pack)), f"{name}: the formats differ")
    return from_json


def python_documents():
    """Documents written by Python: every value kind, exact 64-bit numbers,
    texts with NULs and other scripts, a text that is not UTF-8 as bytes."""
    operation = {
        "Attribute1": 23400,
        "Properties": [
            {"PropertyID": 23003, "Type": 2, "Value": "Контроллер 0 \u0000 ✓"},
            {"PropertyID": 23004, "Type": 3, "Value": {"Value": -5, "List": [2147483647, -2147483648]}},
            {"PropertyID": 23005, "Type": 4, "Value": False},
            {"PropertyID": 23006, "Type": 5, "Value": 18446744073709551615},
            {"PropertyID": 23007, "Type": 6, "Value": {"Value": 10, "Minimum": 0, "Maximum": 100, "Step": 4294967295}},
            {"PropertyID": 23008, "Type": 7, "Value": {"First": [], "Second": [3]}},
            {"PropertyID": 23009, "Type": 8, "Value": 1.5},
            {"PropertyID": 23010, "Type": 9, "Value": [9007199254740993]},
            {"PropertyID": 23011, "Type": 10, "Value": "<a/>"},
            {"PropertyID": 23012, "Type": 11, "SelectionMask": 2, "Value": ["x", "", "z"]},
            {"PropertyID": 23013, "Type": 2, "SubType": 4, "Value": "ENC1(abc)"},
            {"PropertyID": 23014, "Type": 9, "Raw": None, "DataSize": 16},
            {"PropertyID": 23015, "SecondaryID": 1, "Attribute3": 0, "Type": 1, "Flag": True, "Flag2": False},
        ],
        "Events": [{}, {"Scalar1": -9223372036854775808, "PlaceHolder1": "I:12", "Text1": "e"}],
        "PassThroughs": [{"Value": 18446744073709551614}],
        "Partitions": [{"Text1": {"Base64": base64.b64encode(b"\xff\xfe").decode("ascii")}}],
        "Objects": [{"ObjectID": 12345678901234567890, "ObjectType": 19007, "Children": [1, 2]}],
        "Setting5": 0,
    }
    return [
        {"Version": 1, "COperation": operation},
        {"Version": 1, "CTask": {"Object": {"ObjectID": 7}, "Text1": "t", "Time1": 1795000000000}},
        {"Version": 1, "CLogicalDrive": {"Size": 5, "Containers": [{"Drives": [{"ObjectID": 1}]}], "ALD": [4]}},
    ]


def to_pack(value):
    """The JSON spelling of bytes as a MessagePack bin."""
    return walk(value, lambda v: base64.b64decode(v["Base64"])
                if isinstance(v, dict) and list(v) == ["Base64"] else v)


def main():
    with tempfile.TemporaryDirectory() as scratch:
        work = pathlib.Path(scratch)
        # The page's examples, as the library writes them, read by Python.
        with open(PAGE, encoding="utf-8") as f:
            examples = [part.split("```")[0] for part in f.read().split("```json\n")[1:]]
        check(examples, "no examples on the page")
        for i, text in enumerate(examples):
            path = work / f"example{i}.json"
            path.write_text(text, encoding="utf-8")
            written = same_in_both(path, convert(path, "json"), convert(path, "msgpack"))
            check(written == json.loads(text), f"example {i} reads differently in Python")

        # Random records of several classes.
        run(TOOL, "7", "40", scratch)
        for i in range(40):
            stem = work / f"random{i}"
            same_in_both(stem, stem.with_suffix(".json").read_bytes(),
                         stem.with_suffix(".msgpack").read_bytes())

        # Documents that Python wrote come back the same from the library.
        for n, document in enumerate(python_documents()):
            for name, data in (("json", json.dumps(document, ensure_ascii=False).encode()),
                               ("msgpack", msgpack.packb(to_pack(document), use_bin_type=True))):
                path = work / f"python{n}.{name}"
                path.write_bytes(data)
                back = convert(path, "json")
                check(json.loads(back) == document, f"{name} of document {n} came back as {back}")

    if failures:
        sys.exit(f"{len(failures)} interop check(s) failed")
    print("interchange interop: all checks passed")


main()
