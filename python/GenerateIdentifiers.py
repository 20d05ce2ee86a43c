"""Writes pi/_identifiers.py: the identifier vocabulary of the C++ headers as
enum.IntEnum classes, so that the names are typed once, in the headers.

    python3 GenerateIdentifiers.py OUTPUT HEADER...
"""
import re
import sys

# Python names of the C++ enumerations and of the groups of plain constants,
# with the prefix that each member name loses.
ENUMS = {
    "_OBJECT_TYPE": ("ObjectType", "OBJECT_TYPE_"),
    "_UNITS": ("Units", "UNITS_"),
    "_SEVERITY": ("Severity", "SEVERITY_"),
    "_PROPERTY_ID": ("PropertyID", ""),
    "_VALUE_TYPE": ("ValueType", "VT_"),
    "_SENSE_DECODE": ("SenseDecode", "SENSE_"),
}
CONSTANT_GROUPS = [
    ("RESULT_", "Result"),
    ("EXCEPTION_", "ExceptionCode"),
    ("PD_STATE_", "PDState"),
    ("MEDIA_TYPE_", "MediaType"),
    ("POWER_STATE_", "PowerState"),
    # "64BIT" cannot stand alone as a Python name, so the members keep "SUBTYPE_".
    ("PROPERTY_", "SubType"),
]
DOCS = {
    "ObjectType": "Kinds of managed objects.",
    "Units": "Size units; each step is a factor of 1024.",
    "Severity": "The grade of a SCSI sense key.",
    "PropertyID": "Property and operation identifiers, named as their help anchors.",
    "ValueType": "The kind of value a CProperty holds.",
    "SenseDecode": "Why a raw sense buffer could not be decoded.",
    "Result": "Result codes of the library.",
    "ExceptionCode": "Codes of the exceptions the library raises.",
    "PDState": "Physical drive states, as GetPDStatusIcon takes them.",
    "MediaType": "Media types of physical drives.",
    "PowerState": "Power states of physical drives.",
    "SubType": "Refinements of a property's kind.",
}

ENUM_START = re.compile(r"^enum (_[A-Z_]+)\b")
MEMBER = re.compile(r"^\s+([A-Z][A-Z0-9_]*)\s*=\s*(\d+),")
CONSTANT = re.compile(r"^constexpr (?:unsigned )?int ([A-Z][A-Z0-9_]*) = (\w+(?:\(\d+\))?);")


def main(output, headers):
    enums = {}
    constants = {}
    module_number = None
    for header in headers:
        group = None
        with open(header, encoding="utf-8") as f:
            for line in f:
                start = ENUM_START.match(line)
                if start:
                    group = start.group(1)
                    continue
                if group and line.startswith("}"):
                    group = None
                    continue
                if group:
                    member = MEMBER.match(line)
                    if member and group in ENUMS:
                        name, prefix = ENUMS[group]
                        key = member.group(1)
                        key = key[len(prefix):] if key.startswith(prefix) else key
                        enums.setdefault(name, []).append((key, int(member.group(2))))
                    continue
                constant = CONSTANT.match(line)
                if not constant:
                    continue
                name, value = constant.groups()
                if name == "MODULE_NUMBER":
                    module_number = int(value)
                    continue
                call = re.fullmatch(r"MakeExceptionCode\((\d+)\)", value)
                if call:
                    if module_number is None:
                        sys.exit("GenerateIdentifiers: MakeExceptionCode before MODULE_NUMBER")
                    number = 0x20000000 + (module_number << 16) + int(call.group(1))
                elif value.isdigit():
                    number = int(value)
                else:
                    continue
                for prefix, group_name in CONSTANT_GROUPS:
                    if name.startswith(prefix):
                        constants.setdefault(group_name, []).append((name[len(prefix):], number))
                        break
                else:
                    constants.setdefault(None, []).append((name, number))
    missing = [n for n, _ in ENUMS.values() if n not in enums]
    missing += [n for _, n in CONSTANT_GROUPS if n not in constants]
    if missing:
        sys.exit("GenerateIdentifiers: nothing found for " + ", ".join(missing))

    out = ['"""The identifier vocabulary of the library (generated from its headers; do not edit)."""',
           "import enum", "", "__all__ = ["]
    classes = sorted(enums.items()) + sorted((k, v) for k, v in constants.items() if k)
    out += [f'    "{name}",' for name, _ in classes]
    out += [f'    "{name}",' for name, _ in constants.get(None, [])]
    out.append("]")
    for name, members in classes:
        out += ["", "", f"class {name}(enum.IntEnum):", f'    """{DOCS.get(name, name)}"""', ""]
        out += [f"    {key} = {value}" for key, value in members]
    out.append("")
    for name, value in constants.get(None, []):
        out.append(f"{name} = {value}")
    text = "\n".join(out) + "\n"
    try:
        with open(output, encoding="utf-8") as f:
            if f.read() == text:
                return
    except OSError:
        pass
    with open(output, "w", encoding="utf-8") as f:
        f.write(text)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
