#!/usr/bin/python3
"""The Redfish view of example and seeded random inventories against the DMTF
schema each resource's @odata.type names; links must resolve in the tree.
  check_schemas.py SCHEMA_DIR PITOOL RANDOM_INVENTORY EXAMPLES_DIR SEEDS"""
import json
import os
import subprocess
import sys
import tempfile


def mockup_tree(pitool, inventory, out):
    """pitool's mockup of an inventory as {URI: resource}."""
    subprocess.run([pitool, "redfish", inventory, "-o", out], check=True, timeout=30,
                   stdout=subprocess.DEVNULL)
    tree = {}
    for folder, _, files in os.walk(out):
        if "index.json" in files:
            with open(os.path.join(folder, "index.json"), encoding="utf-8") as f:
                tree["/" + os.path.relpath(folder, out)] = json.load(f)
    return tree


def links(value):
    if isinstance(value, dict):
        if set(value) == {"@odata.id"}:
            yield value["@odata.id"]
        value = list(value.values())
    for member in value if isinstance(value, list) else []:
        yield from links(member)


def main():
    schema_dir, pitool, generator, examples, seeds = sys.argv[1:6]
    if not os.path.isdir(schema_dir):
        print("SKIPPED: no Redfish schemas at %s (../shared/data beside the checkout)" % schema_dir)
        return 77
    try:
        import jsonschema
    except ImportError:
        print("SKIPPED: python3-jsonschema is not installed (scripts/install-deps.sh)")
        return 77
    loaded = {}

    def load(address):  # a DMTF address is read from the folder, never fetched
        name = address.split("#")[0].rsplit("/", 1)[-1]
        path = os.path.join(schema_dir, name)
        if name not in loaded and os.path.isfile(path):
            with open(path, encoding="utf-8") as f:
                loaded[name] = json.load(f)
        return loaded.get(name)


    validators, failures, checked, unavailable = {}, [], 0, {}
    with tempfile.TemporaryDirectory() as scratch:
        inventories = [os.path.join(examples, "inventory-%s.json" % n) for n in ("before", "after")]
        for seed in range(int(seeds)):
            inventories.append(os.path.join(scratch, "random-%d.json" % seed))
            subprocess.run([generator, str(seed), inventories[-1]], check=True, timeout=30)
        for index, inventory in enumerate(inventories):
            tree = mockup_tree(pitool, inventory, os.path.join(scratch, "mockup-%d" % index))
            where = os.path.basename(inventory)
            for uri, resource in sorted(tree.items()):
                if resource.get("@odata.id") != uri:
                    failures.append("%s %s: @odata.id is %r" % (where, uri, resource.get("@odata.id")))
                failures += ["%s %s: link to missing %s" % (where, uri, target)
                             for target in links(resource) if target not in tree]
                members = [m["@odata.id"] for m in resource.get("Members", [])]
                if len(set(members)) != len(members):
                    failures.append("%s %s: a member listed twice" % (where, uri))
                kind = resource.get("@odata.type", "")
                name, _, definition = kind.lstrip("#").rpartition(".")
                address = "http://redfish.dmtf.org/schemas/v1/%s.json" % name
                document = load(address) if name else None
                if not name:
                    failures.append("%s %s: @odata.type %r" % (where, uri, kind))
                elif document is None:
                    unavailable[kind] = unavailable.get(kind, 0) + 1
                    continue
                if (address, definition) not in validators:
                    validators[address, definition] = jsonschema.Draft7Validator(
                        document["definitions"][definition], resolver=jsonschema.RefResolver(address, document, handlers={"http": load}))
                checked += 1
                failures += ["%s %s: %s at %s" % (where, uri, e.message, "/".join(map(str, e.absolute_path)))
                             for e in validators[address, definition].iter_errors(resource)]
    for kind, count in sorted(unavailable.items()):
        print("NOT CHECKED: %d resources of %s: its schema is not in %s" % (count, kind, schema_dir))
    print("%d resources of %d inventories valid against their schemas" % (checked, len(inventories)))
    for failure in failures[:40]:
        print("FAIL " + failure)
    return 1 if failures or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
