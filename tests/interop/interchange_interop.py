#!/usr/bin/env python3
"""Interop of the interchange form with two readers that are not ours:
Python's json and the msgpack package (Debian python3-msgpack).

    interchange_interop.py <interchange_tool> <docs/interchange.md>

Python reads the format page's examples and random records as the library
writes them, in both formats, and finds the same
document in each; the library reads documents that Python wrote and gives
back the same document."""

import base64
import json
import os
import struct
import subprocess
import sys
import tempfile

try:
    import msgpack
except ImportError:
    sys.exit("python3-msgpack is missing; scripts/install-deps.sh installs it")

TOOL, PAGE = sys.argv[1], sys.argv[2]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAIL:", message)


def run(*args, ok=True):
    result = subprocess.run([TOOL, *args], capture_output=True, text=True)
    if ok and result.returncode != 0:
        sys.exit(f"{TOOL} {' '.join(args)} failed: {result.stderr}")
    return result


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


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


def load_pair(stem):
    with open(stem + ".json", encoding="utf-8") as f:
        from_json = json.load(f)
    with open(stem + ".msgpack", "rb") as f:
        from_pack = msgpack.unpackb(f.read(), raw=False, strict_map_key=True)
    return from_json, from_pack


def floats32(value):
    """Floats (the values of kind 8) as the 32-bit floats they stand for:
    MessagePack carries the float itself, JSON its shortest decimal."""
    return walk(value, lambda v: float32(v) if isinstance(v, float) else v)


def same_in_both(stem):
    from_json, from_pack = load_pair(stem)
    check(floats32(from_json) == floats32(as_json(from_pack)),
          f"{stem}: JSON and MessagePack differ")
    return from_json


def page_examples():
    text = open(PAGE, encoding="utf-8").read()
    parts = text.split("```json\n")[1:]
    return [json.loads(part.split("```")[0]) for part in parts]


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
    with tempfile.TemporaryDirectory() as work:
        # The page's examples, as the library writes them, read by Python.
        count = int(run("examples", PAGE, work).stdout)
        examples = page_examples()
        check(count == len(examples) and count > 0, "number of examples")
        for i, example in enumerate(examples):
            written = same_in_both(os.path.join(work, f"example{i}"))
            check(written == example, f"example {i} reads differently in Python")

        # Random records of several classes.
        run("random", "7", "40", work)
        for i in range(40):
            same_in_both(os.path.join(work, f"random{i}"))

        # Documents that Python wrote come back the same from the library.
        for n, document in enumerate(python_documents()):
            spellings = {
                "compact.json": json.dumps(document, ensure_ascii=False).encode("utf-8"),
                "doc.msgpack": msgpack.packb(to_pack(document), use_bin_type=True),
            }
            for name, data in spellings.items():
                path = os.path.join(work, f"python{n}.{name}")
                with open(path, "wb") as f:
                    f.write(data)
                result = run("read", path, ok=False)
                check(result.returncode == 0, f"{name} of document {n}: {result.stderr.strip()}")
                if result.returncode == 0:
                    check(json.loads(result.stdout) == document,
                          f"{name} of document {n} came back as {result.stdout}")


    if failures:
        sys.exit(f"{len(failures)} interop check(s) failed")
    print("interchange interop: all checks passed")


main()
