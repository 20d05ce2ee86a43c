#!/usr/bin/python3
"""`pitool redfish serve` from outside, on a free loopback port.

  check_service.py PITOOL EXAMPLES_DIR redfishtool   Debian's redfishtool reads
      the root, the system, the storage, every drive and every volume; each
      answer is the resource of the mockup tree; a rewritten file is served.
  check_service.py PITOOL EXAMPLES_DIR hostile       raw sockets: over-long
      request lines and headers, a slow client, too many connections, bytes
      that are not HTTP, path tricks, other methods; then it still serves.

Every wait is bounded. SIGTERM must stop the service with status 0."""
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

SKIP = 77
READ_TIMEOUT = 1
MAX_CONNECTIONS = 8
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print("FAIL " + what)


class Service:
    def __init__(self, pitool, inventory):
        self.process = subprocess.Popen(
            [pitool, "redfish", "serve", inventory, "--listen", "127.0.0.1:0",
             "--read-timeout", str(READ_TIMEOUT), "--max-connections", str(MAX_CONNECTIONS)],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()  # the service prints it before it serves
        if not line.startswith("listening on 127.0.0.1:"):
            self.process.kill()
            raise SystemExit("the service did not start: %r %s" % (line, self.process.stderr.read()))
        self.port = int(line.rsplit(":", 1)[1])

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        try:
            status = self.process.wait(timeout=5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            status = None
        check(status == 0, "SIGTERM stops the service with status 0 (got %r)" % status)


def exchange(port, data, timeout=5.0, shut=False):
    """Sends bytes, returns all that comes back until the peer closes or
    `timeout` passes (None then)."""
    with socket.create_connection(("127.0.0.1", port), timeout=timeout) as s:
        s.sendall(data)
        if shut:
            s.shutdown(socket.SHUT_WR)
        answer = b""
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            try:
                chunk = s.recv(65536)
            except socket.timeout:
                return None
            except ConnectionResetError:
                break
            if not chunk:
                break
            answer += chunk
        return answer


def parse(answer):
    head, _, body = answer.partition(b"\r\n\r\n")
    lines = head.decode("latin-1").split("\r\n")
    status = int(lines[0].split()[1]) if lines and lines[0].startswith("HTTP/1.1 ") else None
    headers = {k.strip().lower(): v.strip() for k, _, v in (l.partition(":") for l in lines[1:])}
    return status, headers, body


def request(port, method, target, extra=b"", body=b""):
    data = b"%s %s HTTP/1.1\r\nHost: x\r\nConnection: close\r\n%s\r\n%s" % (
        method.encode(), target.encode(), extra, body)
    answer = exchange(port, data)
    return parse(answer) if answer else (None, {}, b"")


def mockup(pitool, inventory, scratch):
    out = os.path.join(scratch, "mockup")
    shutil.rmtree(out, ignore_errors=True)
    subprocess.run([pitool, "redfish", inventory, "-o", out], check=True, timeout=30,
                   stdout=subprocess.DEVNULL)
    tree = {}
    for folder, _, files in os.walk(out):
        if "index.json" in files:
            with open(os.path.join(folder, "index.json"), encoding="utf-8") as f:
                tree["/" + os.path.relpath(folder, out)] = json.load(f)
    return tree


def redfishtools(service, *calls):
    """Runs redfishtool once for each argument list, all at once (each run
    costs an interpreter's start), and returns what each printed as JSON."""
    runs = [subprocess.Popen(["redfishtool", "-r", "127.0.0.1:%d" % service.port, "-A", "None",
                              "-S", "Never", "-T", "5"] + list(args),
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            for args in calls]
    answers = []
    for args, run in zip(calls, runs):
        out, err = run.communicate(timeout=60)
        check(run.returncode == 0, "redfishtool %s: status %d %s" % (
            " ".join(args), run.returncode, err.strip()))
        try:
            answers.append(json.loads(out))
        except ValueError:
            check(False, "redfishtool %s printed no JSON: %r" % (" ".join(args), out[:200]))
            answers.append({})
    return answers


def redfishtool(service, *args):
    return redfishtools(service, args)[0]


def with_redfishtool(pitool, examples, scratch):
    if shutil.which("redfishtool") is None:
        print("SKIPPED: redfishtool is not installed (Debian redfishtool, scripts/install-deps.sh)")
        return SKIP
    inventory = os.path.join(scratch, "inventory.json")
    shutil.copy(os.path.join(examples, "inventory-before.json"), inventory)
    tree = mockup(pitool, inventory, scratch)
    service = Service(pitool, inventory)
    try:
        root, system = redfishtools(service, ["root"], ["Systems", "-1", "get"])
        check(root == tree["/redfish/v1"], "service root")
        check(system == tree.get(system.get("@odata.id")), "the system")
        storage_uri = system["Storage"]["@odata.id"] + "/1"
        storage, volumes = redfishtools(service, ["raw", "GET", storage_uri],
                                        ["raw", "GET", storage_uri + "/Volumes"])
        check(storage == tree[storage_uri], "the storage")
        uris = [d["@odata.id"] for d in storage["Drives"]] + [v["@odata.id"] for v in volumes["Members"]]
        check(len(uris) == 6, "5 drives and a volume, not %d" % len(uris))
        for uri, answer in zip(uris, redfishtools(service, *(["raw", "GET", u] for u in uris))):
            check(answer == tree[uri], "resource " + uri)

        # A new inventory replaces the file whole; the service follows it.
        drive = "/redfish/v1/Systems/0/Storage/1/Drives/4098"
        before = request(service.port, "GET", drive)
        staged = inventory + ".new"
        shutil.copy(os.path.join(examples, "inventory-after.json"), staged)
        os.replace(staged, inventory)
        deadline = time.monotonic() + 10
        after = before
        while time.monotonic() < deadline and after[1].get("etag") == before[1].get("etag"):
            time.sleep(0.1)
            after = request(service.port, "GET", drive)
        check(after[1].get("etag") != before[1].get("etag"), "the ETag changes with the file")
        check(json.loads(after[2] or b"{}").get("Status", {}).get("Health") == "Critical",
              "the failed drive of the new inventory is served")
    finally:
        service.stop()
    return 1 if failures else 0


def hostile(pitool, examples, scratch):
    service = Service(pitool, os.path.join(examples, "inventory-after.json"))
    port = service.port
    try:
        status, headers, body = request(port, "GET", "/redfish/v1/")
        check(status == 200 and headers.get("content-type") == "application/json" and
              headers.get("odata-version") == "4.0" and headers.get("etag"),
              "GET answers 200 with its headers: %r %r" % (status, headers))
        root = json.loads(body)
        status, headers, head_body = request(port, "HEAD", "/redfish/v1")
        check(status == 200 and head_body == b"" and
              int(headers.get("content-length", -1)) == len(body), "HEAD: no body, same length")

        for method in ("POST", "PUT", "PATCH", "DELETE", "OPTIONS"):
            status, headers, body = request(port, method, "/redfish/v1", b"Content-Length: 2\r\n", b"{}")
            check(status == 405 and headers.get("allow") == "GET, HEAD" and
                  "error" in json.loads(body or b"{}"), method + " gets 405 with Allow")

        for target in ("/redfish/v1/Nothing", "/redfish/v1/../../etc/passwd",
                       "/redfish/v1/%2e%2e/%2e%2e/etc/passwd", "/%2Fetc%2Fpasswd",
                       "/redfish/v1/Systems/0%00", "/redfish/v1/Systems/%zz", "/etc/passwd",
                       "/redfish/v1/Systems/0/Storage/1/Drives/4096/../4097", "//redfish/v1"):
            status, _, body = request(port, "GET", target)
            check(status in (400, 404) and "error" in json.loads(body or b"{}"),
                  "%s is refused with an error body (%r)" % (target, status))
        status, _, body = request(port, "GET", "/redfish/v1/Systems/%30")
        check(status == 200 and json.loads(body)["Id"] == "0", "an escaped digit is the digit")

        status, _, _ = request(port, "GET", "/" + "a" * 3000)
        check(status == 414, "a long URI gets 414 (%r)" % status)
        status, _, _ = request(port, "GET", "/" + "a" * 9000)
        check(status == 431, "a request line over the header limit gets 431 (%r)" % status)
        status, _, _ = request(port, "GET", "/redfish/v1", b"X-Filler: %s\r\n" % (b"b" * 100) * 100)
        check(status == 431, "headers over the limit get 431 (%r)" % status)

        # A slow client is cut off after the read time-out, a silent one too.
        started = time.monotonic()
        answer = exchange(port, b"GET /redfish/v1 HTTP/1.1\r\nHost: x\r\n", timeout=READ_TIMEOUT + 4)
        check(answer is not None and time.monotonic() - started < READ_TIMEOUT + 3,
              "a request that never ends is closed after the time-out")

        for junk in (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + bytes(range(256)),
                     b"\r\n\r\n\r\n", b"GET\x00/ HTTP/1.1\r\n\r\n", b"HELLO WORLD\r\n\r\n",
                     b"GET /redfish/v1 HTTP/9.9\r\n\r\n",
                     b"GET /redfish/v1 HTTP/1.1\r\nContent-Length: -5\r\n\r\n"):
            answer = exchange(port, junk, shut=True)
            check(answer is not None and (answer == b"" or parse(answer)[0] == 400),
                  "bytes that are not HTTP get 400 or a close: %r -> %r" % (junk[:20], answer and answer[:40]))

        # Connections beyond the bound are answered 503 and closed.
        held = [socket.create_connection(("127.0.0.1", port), timeout=5)
                for _ in range(MAX_CONNECTIONS)]
        time.sleep(0.2)
        status, _, _ = request(port, "GET", "/redfish/v1")
        check(status == 503, "one connection too many gets 503 (%r)" % status)
        for s in held:
            s.close()
        time.sleep(0.3)

        # Several requests on one kept-alive connection.
        answer = exchange(port, b"GET /redfish/v1 HTTP/1.1\r\nHost: x\r\n\r\n" * 2 +
                          b"GET /redfish/v1/Systems HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n")
        check(answer is not None and answer.count(b"HTTP/1.1 200 OK") == 3, "keep-alive serves 3")

        status, _, body = request(port, "GET", "/redfish/v1")
        check(status == 200 and json.loads(body) == root, "the service still serves afterwards")
    finally:
        service.stop()
    return 1 if failures else 0


def main():
    pitool, examples, mode = sys.argv[1:4]
    with tempfile.TemporaryDirectory() as scratch:
        result = (with_redfishtool if mode == "redfishtool" else hostile)(pitool, examples, scratch)
    print("%s: %s" % (mode, "failed" if result == 1 else "skipped" if result == SKIP else "passed"))
    return result


if __name__ == "__main__":
    sys.exit(main())
