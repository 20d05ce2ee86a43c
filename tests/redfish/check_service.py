#!/usr/bin/python3
"""`pitool redfish serve` on a free loopback port, read by Debian's redfishtool
or by a hostile raw-socket client; bounded waits; SIGTERM must stop it.
  check_service.py PITOOL EXAMPLES_DIR redfishtool|hostile"""
import json
import os
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from check_schemas import mockup_tree

READ_TIMEOUT, MAX_CONNECTIONS = 1, 8
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print("FAIL " + what)


class Service:
    def __init__(self, pitool, inventory):
        self.process = subprocess.Popen(
            [pitool, "redfish", "serve", inventory, "--listen", "127.0.0.1:0", "--read-timeout",
             str(READ_TIMEOUT), "--max-connections", str(MAX_CONNECTIONS)],
            stdout=subprocess.PIPE, text=True)
        ready = select.select([self.process.stdout], [], [], 20)[0]
        line = self.process.stdout.readline() if ready else ""
        if not line.startswith("listening on 127.0.0.1:"):
            self.process.kill()
            raise SystemExit("the service did not start: %r" % line)
        self.port = int(line.rsplit(":", 1)[1])

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        try:
            status = self.process.wait(timeout=5)
        except subprocess.TimeoutExpired:
            status = self.process.kill() or "still running"
        check(status == 0, "SIGTERM stops the service with status 0 (got %r)" % status)


def exchange(port, data, timeout=5.0, shut=False):
    """What comes back until the peer closes; None if not within `timeout`."""
    with socket.create_connection(("127.0.0.1", port), timeout=timeout) as s:
        s.sendall(data)
        if shut:
            s.shutdown(socket.SHUT_WR)
        answer, deadline = b"", time.monotonic() + timeout
        while time.monotonic() < deadline:
            try:
                chunk = s.recv(65536)
            except (socket.timeout, ConnectionResetError) as e:
                return None if isinstance(e, socket.timeout) else answer
            if not chunk:
                return answer
            answer += chunk


def parse(answer):
    head, _, body = (answer or b"").partition(b"\r\n\r\n")
    lines = head.decode("latin-1").split("\r\n")
    status = int(lines[0].split()[1]) if lines[0].startswith("HTTP/1.1 ") else None
    return status, {k.strip().lower(): v.strip() for k, _, v in (l.partition(":") for l in lines[1:])}, body


def request(port, method, target, extra=b"", body=b""):
    return parse(exchange(port, b"%s %s HTTP/1.1\r\nHost: x\r\nConnection: close\r\n%s\r\n%s" % (
        method.encode(), target.encode(), extra, body)))


def redfishtools(service, *calls):
    """The JSON of redfishtool runs, started together (each starts an interpreter)."""
    runs = [subprocess.Popen(["redfishtool", "-r", "127.0.0.1:%d" % service.port, "-A", "None",
                              "-S", "Never", "-T", "5"] + args, stdout=subprocess.PIPE, text=True)
            for args in calls]
    answers = []
    for args, run in zip(calls, runs):
        out = run.communicate(timeout=60)[0]
        check(run.returncode == 0 and out.startswith("{"), "redfishtool %s: %r" % (args, out[:200]))
        answers.append(json.loads(out) if out.startswith("{") else {})
    return answers


def with_redfishtool(pitool, examples, scratch):
    if shutil.which("redfishtool") is None:
        print("SKIPPED: redfishtool is not installed (Debian redfishtool, scripts/install-deps.sh)")
        return 77
    inventory = os.path.join(scratch, "inventory.json")
    shutil.copy(os.path.join(examples, "inventory-before.json"), inventory)
    tree = mockup_tree(pitool, inventory, os.path.join(scratch, "mockup"))
    service = Service(pitool, inventory)
    try:
        root, system = redfishtools(service, ["root"], ["Systems", "-1", "get"])
        check(root == tree["/redfish/v1"] and system == tree["/redfish/v1/Systems/0"], "root, system")
        storage, volumes = redfishtools(service, ["raw", "GET", "/redfish/v1/Systems/0/Storage/1"],
                                        ["raw", "GET", "/redfish/v1/Systems/0/Storage/1/Volumes"])
        check(storage == tree["/redfish/v1/Systems/0/Storage/1"], "the storage")
        uris = [d["@odata.id"] for d in storage["Drives"] + volumes["Members"]]
        check(len(uris) == 6, "5 drives and a volume, not %d" % len(uris))
        for uri, answer in zip(uris, redfishtools(service, *(["raw", "GET", u] for u in uris))):
            check(answer == tree[uri], "resource " + uri)

        # A new inventory replaces the file whole; the service follows it.
        drive = "/redfish/v1/Systems/0/Storage/1/Drives/4098"
        before = after = request(service.port, "GET", drive)
        shutil.copy(os.path.join(examples, "inventory-after.json"), inventory + ".new")
        os.replace(inventory + ".new", inventory)
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline and after[1].get("etag") == before[1].get("etag"):
            time.sleep(0.1)
            after = request(service.port, "GET", drive)
        check(after[1].get("etag") != before[1].get("etag") and
              json.loads(after[2] or b"{}").get("Status", {}).get("Health") == "Critical",
              "the new inventory's failed drive is served with a new ETag")
    finally:
        service.stop()
    return 1 if failures else 0


def hostile(pitool, examples, scratch):
    service = Service(pitool, os.path.join(examples, "inventory-after.json"))
    port = service.port
    try:
        status, headers, body = request(port, "GET", "/redfish/v1/")
        check(status == 200 and headers.get("content-type") == "application/json" and
              headers.get("odata-version") == "4.0" and headers.get("etag"), "GET: %r" % headers)
        root = json.loads(body)
        status, headers, head = request(port, "HEAD", "/redfish/v1")
        check(status == 200 and head == b"" and int(headers["content-length"]) == len(body), "HEAD")
        for method in ("POST", "PUT", "PATCH", "DELETE", "OPTIONS"):
            status, headers, body = request(port, method, "/redfish/v1", b"Content-Length: 2\r\n", b"{}")
            check(status == 405 and headers.get("allow") == "GET, HEAD" and
                  "error" in json.loads(body or b"{}"), method + " gets 405 with Allow")
        for target in ("/redfish/v1/Nothing", "/redfish/v1/../../etc/passwd", "/etc/passwd",
                       "/redfish/v1/%2e%2e/%2e%2e/etc/passwd", "/%2Fetc%2Fpasswd", "//redfish/v1",
                       "/redfish/v1/Systems/0%00", "/redfish/v1/Systems/%zz",
                       "/redfish/v1/Systems/0/Storage/1/Drives/4096/../4097"):
            status, _, body = request(port, "GET", target)
            check(status == 404 and "error" in json.loads(body or b"{}"), "%s: %r" % (target, status))
        status, _, body = request(port, "GET", "/redfish/v1/Systems/%30")
        check(status == 200 and json.loads(body)["Id"] == "0", "an escaped digit is the digit")

        check(request(port, "GET", "/" + "a" * 3000)[0] == 414, "a long URI gets 414")
        check(request(port, "GET", "/" + "a" * 9000)[0] == 431, "an over-long request line gets 431")
        check(request(port, "GET", "/redfish/v1", b"X-Filler: %s\r\n" % (b"b" * 100) * 100)[0] == 431,
              "headers over the limit get 431")
        started = time.monotonic()
        answer = exchange(port, b"GET /redfish/v1 HTTP/1.1\r\nHost: x\r\n", timeout=READ_TIMEOUT + 4)
        check(answer is not None and time.monotonic() - started < READ_TIMEOUT + 3,
              "a request that never ends is closed after the read time-out")
        for junk in (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + bytes(range(256)), b"\r\n" * 3,
                     b"GET\x00/ HTTP/1.1\r\n\r\n", b"HELLO WORLD\r\n\r\n", b"GET /redfish/v1 HTTP/9.9\r\n\r\n",
                     b"GET /redfish/v1 HTTP/1.1\r\nContent-Length: -5\r\n\r\n"):
            answer = exchange(port, junk, shut=True)
            check(answer == b"" or parse(answer)[0] == 400, "not HTTP: %r -> %r" % (junk[:20], answer))

        held = [socket.create_connection(("127.0.0.1", port), timeout=5) for _ in range(MAX_CONNECTIONS)]
        time.sleep(0.2)
        check(request(port, "GET", "/redfish/v1")[0] == 503, "one connection too many gets 503")
        for s in held:
            s.close()
        time.sleep(0.3)
        status, _, body = request(port, "GET", "/redfish/v1")
        check(status == 200 and json.loads(body) == root, "the service still serves afterwards")
    finally:
        service.stop()
    return 1 if failures else 0


if __name__ == "__main__":
    pitool, examples, mode = sys.argv[1:4]
    with tempfile.TemporaryDirectory() as scratch:
        result = (with_redfishtool if mode == "redfishtool" else hostile)(pitool, examples, scratch)
    print("%s: %s" % (mode, {0: "passed", 1: "failed", 77: "skipped"}[result]))
    sys.exit(result)
