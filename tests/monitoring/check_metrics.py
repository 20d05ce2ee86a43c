# `promtool check metrics` finds no problem in the metrics of every example
# inventory, and the alert tests' series taken from the example inventories
# are still what `pitool metrics` writes.
#
#     check_metrics.py PITOOL PROMTOOL EXAMPLES_DIR
import glob
import os
import re
import subprocess
import sys

import yaml

SAMPLE = re.compile(r'^([a-zA-Z_:][a-zA-Z0-9_:]*)\{(.*)\} (\S+)$')
LABEL = re.compile(r'([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\]|\\.)*)",?')


def series_key(name, labels):
    return name + "{" + ",".join(f'{k}="{v}"' for k, v in sorted(LABEL.findall(labels))) + "}"


def samples(text):
    matches = (SAMPLE.match(line) for line in text.splitlines())
    return {series_key(m.group(1), m.group(2)): float(m.group(3)) for m in matches if m}


def first_and_last(values):
    # The first and the last value of promtool's series notation ("1x9 0x40",
    # "_x10 1x39", "6000-60x40"); None for a missing one.
    def value(token, last):
        m = re.fullmatch(r"(_|-?[0-9.]+)(?:([+-][0-9.]+)?x([0-9]+))?", token)
        if m.group(1) == "_":
            return None
        step = float(m.group(2) or 0) * int(m.group(3) or 0) if last else 0
        return float(m.group(1)) + step

    tokens = values.split()
    return value(tokens[0], False), value(tokens[-1], True)


def main(pitool, promtool, examples):
    failures, outputs = [], {}
    for path in sorted(glob.glob(os.path.join(examples, "inventory-*.json"))):
        metrics = subprocess.run([pitool, "metrics", path], check=True, capture_output=True,
                                 text=True).stdout
        outputs[os.path.basename(path)] = samples(metrics)
        lint = subprocess.run([promtool, "check", "metrics"], input=metrics, capture_output=True,
                              text=True)
        if lint.returncode != 0 or lint.stdout.strip() or lint.stderr.strip():
            failures.append(f"promtool check metrics on {path}: {lint.stdout}{lint.stderr}")
    if not outputs:
        failures.append(f"no inventory-*.json in {examples}")

    with open(os.path.join(examples, "prometheus", "pi-alerts.test.yml")) as f:
        tests = yaml.safe_load(f)
    group = next(t for t in tests["tests"] if t.get("name") == "from the example inventories")
    before, after = outputs["inventory-before.json"], outputs["inventory-after.json"]
    for series in group["input_series"]:
        m = re.fullmatch(r"([a-zA-Z_:][a-zA-Z0-9_:]*)\{(.*)\}", series["series"])
        key = series_key(m.group(1), m.group(2))
        first, last = first_and_last(series["values"])
        for which, value, output in (("before", first, before), ("after", last, after)):
            if output.get(key) != value:
                failures.append(f"{key}: the test has {value} {which}, pitool {output.get(key)}")
    print("".join("FAIL: " + failure + "\n" for failure in failures), end="")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
