"""`promtool check metrics` finds no problem in the metrics of every example
inventory, and the alert tests' series taken from the example inventories
are still what `pitool metrics` writes.

    check_metrics.py PITOOL PROMTOOL EXAMPLES_DIR
"""
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
    found = {}
    for line in text.splitlines():
        m = SAMPLE.match(line)
        if m:
            found[series_key(m.group(1), m.group(2))] = float(m.group(3))
    return found


def first_and_last(values):
    """The first and the last value of promtool's expanding notation; None
    for a missing one."""
    tokens = values.split()

    def start(token):
        base = token.split("x")[0]
        return None if base == "_" else float(re.match(r"-?[0-9.]+", base).group(0))

    def end(token):
        m = re.fullmatch(r"(-?[0-9.]+)([+-][0-9.]+)?x([0-9]+)", token)
        if token.startswith("_"):
            return None
        if not m:
            return float(token)
        step = float(m.group(2)) if m.group(2) else 0.0
        return float(m.group(1)) + step * int(m.group(3))

    return start(tokens[0]), end(tokens[-1])


def main(pitool, promtool, examples):
    failures = []
    outputs = {}
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
    for failure in failures:
        print("FAIL:", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
