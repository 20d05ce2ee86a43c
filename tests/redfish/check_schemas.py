#!/usr/bin/python3
"""Every resource of the Redfish view against DMTF's JSON schema that its
own @odata.type names, for the example inventories and seeded random ones.
The view's links must name resources of the same tree.

  check_schemas.py SCHEMA_DIR PITOOL RANDOM_INVENTORY EXAMPLES_DIR SEEDS

Exits 77 (skipped) saying why when the schemas or python3-jsonschema are
missing."""
import json
import os
import subprocess
import sys
import tempfile

SKIP = 77


def skip(why):
    print("SKIPPED: " + why)
    sys.exit(SKIP)


def local_loader(folder):
    """Reads a schema by its DMTF address from the folder (the address's last
    part is the file name), each file once; never fetches anything."""
    loaded = {}

    def load(address):
        name = address.split("#")[0].rsplit("/", 1)[-1]
        if name not in loaded:
            path = os.path.join(folder, name)
            if not os.path.isfile(path):
                return None
            with open(path, encoding="utf-8") as f:
                loaded[name] = json.load(f)
        return loaded[name]
    return load


def links(value, out):
    if isinstance(value, dict):
        if set(value) == {"@odata.id"}:
            out.append(value["@odata.id"])
        for member in value.values():
            links(member, out)
    elif isinstance(value, list):
        for member in value:
            links(member, out)


def main():
    schema_dir, pitool, generator, examples, seeds = sys.argv[1:6]
    if not os.path.isdir(schema_dir):
        skip("no Redfish schemas at %s (../shared/data beside the checkout)" % schema_dir)
    try:
        import jsonschema
    except ImportError:
        skip("python3-jsonschema is not installed (scripts/install-deps.sh)")
    load = local_loader(schema_dir)

    class LocalResolver(jsonschema.RefResolver):
        def resolve_remote(self, uri):
            document = load(uri)
            if document is None:
                raise jsonschema.RefResolutionError("%s is not in %s" % (uri, schema_dir))
            return document
    validators = {}
    failures, checked, unavailable = [], 0, {}
    with tempfile.TemporaryDirectory() as scratch:
        inventories = [os.path.join(examples, n)
                       for n in ("inventory-before.json", "inventory-after.json")]
        for seed in range(int(seeds)):
            path = os.path.join(scratch, "random-%d.json" % seed)
            subprocess.run([generator, str(seed), path], check=True, timeout=30)
            inventories.append(path)
        for index, inventory in enumerate(inventories):
            out = os.path.join(scratch, "mockup-%d" % index)
            subprocess.run([pitool, "redfish", inventory, "-o", out], check=True,
                           timeout=30, stdout=subprocess.DEVNULL)
            tree = {}
            for folder, _, files in os.walk(out):
                if "index.json" in files:
                    uri = "/" + os.path.relpath(folder, out)
                    with open(os.path.join(folder, "index.json"), encoding="utf-8") as f:
                        tree[uri] = json.load(f)
            where = os.path.basename(inventory)
            if "/redfish/v1" not in tree:
                failures.append("%s: no service root" % where)
            for uri, resource in sorted(tree.items()):
                if resource.get("@odata.id") != uri:
                    failures.append("%s %s: @odata.id is %r" % (where, uri, resource.get("@odata.id")))
                found = []
                links(resource, found)
                for target in found:
                    if target != uri and target not in tree:
                        failures.append("%s %s: link to missing %s" % (where, uri, target))
                kind = resource.get("@odata.type", "")
                parts = kind.lstrip("#").split(".")
                if len(parts) == 3:
                    address = "http://redfish.dmtf.org/schemas/v1/%s.%s.json" % (parts[0], parts[1])
                elif len(parts) == 2:
                    address = "http://redfish.dmtf.org/schemas/v1/%s.json" % parts[0]
                else:
                    failures.append("%s %s: @odata.type %r" % (where, uri, kind))
                    continue
                document = load(address)
                if document is None:
                    unavailable[kind] = unavailable.get(kind, 0) + 1
                    continue
                key = (address, parts[-1])
                if key not in validators:
                    definition = document.get("definitions", {}).get(parts[-1])
                    if definition is None:
                        failures.append("%s %s: %s has no definition %s" % (where, uri, address, parts[-1]))
                        continue
                    validators[key] = jsonschema.Draft7Validator(
                        definition, resolver=LocalResolver(address, document))
                errors = sorted(validators[key].iter_errors(resource), key=str)
                checked += 1
                for error in errors[:3]:
                    failures.append("%s %s: %s at %s" % (where, uri, error.message,
                                                         "/".join(map(str, error.absolute_path))))
    for kind, count in sorted(unavailable.items()):
        print("NOT CHECKED: %d resources of %s: its schema is not in %s" % (count, kind, schema_dir))
    print("%d resources of %d inventories valid against their schemas" % (checked, len(inventories)))
    for failure in failures[:40]:
        print("FAIL " + failure)
    return 1 if failures or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
