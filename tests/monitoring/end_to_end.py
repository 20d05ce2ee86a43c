# End to end: pitool writes an inventory's metrics for node_exporter's
# textfile collector, Prometheus scrapes them every second with the project's
# alert rules loaded, sees the failed drive's health turn critical and the
# failed-drive alert fire. (pitool's -o leaving only the one file in the
# directory is test_pitool's.)
#
#     end_to_end.py PITOOL EXAMPLES_DIR
#
# Both servers listen on 127.0.0.1 on free ports and keep everything in one
# scratch directory; every wait is bounded, and both servers are stopped and
# the directory removed however the test ends.
import json
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.parse
import urllib.request

WAIT_SECONDS = 20


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_for(what, base, expr):
    """Until the Prometheus query `expr` has a result."""
    url = base + "/api/v1/query?" + urllib.parse.urlencode({"query": expr})
    deadline = time.monotonic() + WAIT_SECONDS
    while time.monotonic() < deadline:
        try:
            with urllib.request.urlopen(url, timeout=2) as reply:
                if json.load(reply)["data"]["result"]:
                    return
        except OSError:
            pass  # not listening yet
        time.sleep(0.25)
    raise AssertionError(f"gave up after {WAIT_SECONDS} s waiting for {what}")


def main(pitool, examples):
    scratch = tempfile.mkdtemp(prefix="pi-e2e-")
    servers = []
    try:
        textfiles = os.path.join(scratch, "textfile")
        os.mkdir(textfiles)
        prom_file = os.path.join(textfiles, "pi.prom")
        exporter_port, prometheus_port = free_port(), free_port()

        def write_metrics(inventory):
            subprocess.run([pitool, "metrics", os.path.join(examples, inventory), "-o", prom_file],
                           check=True)

        write_metrics("inventory-before.json")
        servers.append(subprocess.Popen(
            ["prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
             "--collector.textfile.directory=" + textfiles, "--log.level=warn",
             f"--web.listen-address=127.0.0.1:{exporter_port}"],
            stdout=subprocess.DEVNULL))
        config = os.path.join(scratch, "prometheus.yml")
        rules = os.path.join(os.path.abspath(examples), "prometheus", "pi-alerts.yml")
        with open(config, "w") as f:  # JSON is YAML too
            json.dump({"global": {"scrape_interval": "1s", "evaluation_interval": "1s"},
                       "rule_files": [rules],
                       "scrape_configs": [{"job_name": "pi", "static_configs": [
                           {"targets": [f"127.0.0.1:{exporter_port}"]}]}]}, f)
        servers.append(subprocess.Popen(
            ["prometheus", "--config.file=" + config,
             "--storage.tsdb.path=" + os.path.join(scratch, "data"),
             f"--web.listen-address=127.0.0.1:{prometheus_port}", "--log.level=warn"],
            stdout=subprocess.DEVNULL))
        base = f"http://127.0.0.1:{prometheus_port}"
        drive = 'pi_health{id="4098",health="%s"} == 1'
        wait_for("the drive's health to show ok", base, drive % "ok")
        write_metrics("inventory-after.json")
        wait_for("the drive's health to show critical", base, drive % "critical")
        wait_for("the alert PIPhysicalDriveFailed to fire", base,
                 'ALERTS{alertname="PIPhysicalDriveFailed",id="4098",alertstate="firing"}')
        return 0
    finally:
        for server in servers:
            server.terminate()
        for server in servers:
            try:
                server.wait(timeout=10)
            except subprocess.TimeoutExpired:
                server.kill()
                server.wait()
        shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
