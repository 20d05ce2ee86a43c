"""The one reader of the identifier vocabulary in the public headers.

    python3 GenerateIdentifiers.py table OUTPUT HEADER...
        reads the enumerations and the integer constants of the headers and
        writes OUTPUT, a C++ X-macro list with one row a name:
            PI_IDENTIFIER(group, name, value, python_class, python_name)
        `group` is the C++ enumeration ("_PROPERTY_ID", ...) or "int" for a
        plain constant; `python_class` is the IntEnum of the pi module that
        holds it as `python_name`, or "" for a constant of the module itself.
        pitool and the tests include this list; the pi module's enumerations
        are written from it:

    python3 GenerateIdentifiers.py python TABLE OUTPUT
        writes pi/_identifiers.py, the enum.IntEnum classes, from TABLE.

Which names become which Python names is decided here, once:
  enumerations    _OBJECT_TYPE -> ObjectType, _UNITS -> Units, _SEVERITY ->
                  Severity, _PROPERTY_ID -> PropertyID, _VALUE_TYPE ->
                  ValueType, _SENSE_DECODE -> SenseDecode, _HEALTH -> Health;
                  the members lose the prefix in ENUMS (OBJECT_TYPE_, UNITS_,
                  SEVERITY_, none, VT_, SENSE_, HEALTH_).
  constants       RESULT_* -> Result, EXCEPTION_* -> ExceptionCode (the value
                  computed as MakeExceptionCode does), PD_STATE_* -> PDState,
                  MEDIA_TYPE_* -> MediaType, POWER_STATE_* -> PowerState, each
                  without the prefix; PROPERTY_SUBTYPE_* -> SubType as
                  SUBTYPE_* ("64BIT" cannot stand alone as a Python name);
                  any other integer constant is a constant of the module of
                  its own name, except MODULE_NUMBER, which is the library's
                  number and no identifier.
An enumeration not in ENUMS stops the build: its Python name is decided here.
"""
import re
import sys

ENUMS = {
    "_OBJECT_TYPE": ("ObjectType", "OBJECT_TYPE_"),
    "_UNITS": ("Units", "UNITS_"),
    "_SEVERITY": ("Severity", "SEVERITY_"),
    "_PROPERTY_ID": ("PropertyID", ""),
    "_VALUE_TYPE": ("ValueType", "VT_"),
    "_SENSE_DECODE": ("SenseDecode", "SENSE_"),
    "_SENSE_KEY_SPECIFIC": ("SenseKeySpecificKind", "SKS_"),
    "_SENSE_DESCRIPTOR": ("SenseDescriptorType", "SENSE_DESC_"),
    "_HEALTH": ("Health", "HEALTH_"),
}
# (prefix of the C++ name, Python class, the part of the prefix dropped)
CONSTANT_GROUPS = [
    ("RESULT_", "Result", "RESULT_"),
    ("EXCEPTION_", "ExceptionCode", "EXCEPTION_"),
    ("PD_STATE_", "PDState", "PD_STATE_"),
    ("MEDIA_TYPE_", "MediaType", "MEDIA_TYPE_"),
    ("POWER_STATE_", "PowerState", "POWER_STATE_"),
    ("PROPERTY_SUBTYPE_", "SubType", "PROPERTY_"),
]
DOCS = {
    "ObjectType": "Kinds of managed objects.",
    "Units": "Size units; each step is a factor of 1024.",
    "Severity": "The grade of a SCSI sense key.",
    "PropertyID": "Property and operation identifiers, named as their help anchors.",
    "ValueType": "The kind of value a CProperty holds.",
    "SenseDecode": "Why a raw sense buffer could not be decoded.",
    "SenseKeySpecificKind": "What the sense-key specific bytes mean.",
    "SenseDescriptorType": "Descriptor types of descriptor-format sense data that are decoded.",
    "Health": "The health of an object, as GetObjectHealth judges it.",
    "Result": "Result codes of the library.",
    "ExceptionCode": "Codes of the exceptions the library raises.",
    "PDState": "Physical drive states, as GetPDStatusIcon takes them.",
    "MediaType": "Media types of physical drives.",
    "PowerState": "Power states of physical drives.",
    "SubType": "Refinements of a property's kind.",
}

ENUM_START = re.compile(r"^enum (_[A-Z_]+)\b")
MEMBER = re.compile(r"^\s+([A-Z][A-Z0-9_]*)\s*=\s*(0x[0-9A-Fa-f]+|\d+),")
CONSTANT = re.compile(r"^constexpr (?:unsigned )?int ([A-Z][A-Z0-9_]*) = (\w+(?:\(\d+\))?);")
ROW = re.compile(r'^PI_IDENTIFIER\("([^"]*)", "([^"]*)", (-?\d+), "([^"]*)", "([^"]*)"\)$')


def write_if_changed(output, text):
    """Rewrites only on change, so that dependants are not rebuilt for nothing."""
    try:
        with open(output, encoding="utf-8") as f:
            if f.read() == text:
                return
    except OSError:
        pass
    with open(output, "w", encoding="utf-8") as f:
        f.write(text)


def read_headers(headers):
    """The rows (group, name, value, python_class, python_name) in header order."""
    rows = []
    module_number = None
    for header in headers:
        group = None
        with open(header, encoding="utf-8") as f:
            for line in f:
                start = ENUM_START.match(line)
                if start:
                    group = start.group(1)
                    if group not in ENUMS:
                        sys.exit(f"GenerateIdentifiers: {header}: enum {group} has no Python name")
                    continue
                if group and line.startswith("}"):
                    group = None
                    continue
                if group:
                    member = MEMBER.match(line)
                    if member:
                        cls, prefix = ENUMS[group]
                        name = member.group(1)
                        short = name[len(prefix):] if name.startswith(prefix) else name
                        rows.append((group, name, int(member.group(2), 0), cls, short))
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
                for prefix, cls, dropped in CONSTANT_GROUPS:
                    if name.startswith(prefix):
                        rows.append(("int", name, number, cls, name[len(dropped):]))
                        break
                else:
                    rows.append(("int", name, number, "", name))
    found = {row[3] for row in rows}
    missing = [c for c, _ in ENUMS.values() if c not in found]
    missing += [c for _, c, _ in CONSTANT_GROUPS if c not in found]
    if missing:
        sys.exit("GenerateIdentifiers: nothing found for " + ", ".join(missing))
    return rows


def write_table(output, headers):
    rows = read_headers(headers)
    names = ", ".join(h[h.find("include/"):] if "include/" in h else h for h in headers)
    out = [f"// Generated by cmake/GenerateIdentifiers.py from {names}; do not edit.",
           "// PI_IDENTIFIER(group, name, value, python_class, python_name)"]
    out += [f'PI_IDENTIFIER("{g}", "{n}", {v}, "{c}", "{p}")' for g, n, v, c, p in rows]
    write_if_changed(output, "\n".join(out) + "\n")


def write_python(table, output):
    classes, constants, enumerations = {}, [], set()
    with open(table, encoding="utf-8") as f:
        for line in f:
            row = ROW.match(line.rstrip("\n"))
            if not row:
                continue
            group, _, value, cls, name = row.groups()
            if cls and group != "int":
                enumerations.add(cls)
            if cls:
                classes.setdefault(cls, []).append((name, int(value)))
            else:
                constants.append((name, int(value)))
    out = ['"""The identifier vocabulary of the library (generated by cmake/GenerateIdentifiers.py',
           'from the identifier table of its headers; do not edit)."""', "import enum", "",
           "__all__ = ["]
    # The C++ enumerations first, then the groups of constants.
    order = sorted(enumerations) + sorted(c for c in classes if c not in enumerations)
    out += [f'    "{name}",' for name in order]
    out += [f'    "{name}",' for name, _ in constants]
    out.append("]")
    for cls in order:
        out += ["", "", f"class {cls}(enum.IntEnum):", f'    """{DOCS.get(cls, cls)}"""', ""]
        out += [f"    {key} = {value}" for key, value in classes[cls]]
    out.append("")
    for name, value in constants:
        out.append(f"{name} = {value}")
    write_if_changed(output, "\n".join(out) + "\n")


if __name__ == "__main__":
    if len(sys.argv) >= 4 and sys.argv[1] == "table":
        write_table(sys.argv[2], sys.argv[3:])
    elif len(sys.argv) == 4 and sys.argv[1] == "python":
        write_python(sys.argv[2], sys.argv[3])
    else:
        sys.exit(__doc__)
