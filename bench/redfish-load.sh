#!/usr/bin/env bash
# Load test of `pitool redfish serve` (not a CI test): 8 clients, each one
# keep-alive connection doing 2,000 GETs, on loopback, with wrk (Debian wrk).
# The service serves the benchmarks' inventory (10,728 properties); the GETs
# go round the service root, the system, the storage, drives and volumes.
# Prints wrk's report: requests per second and the latency percentiles; any
# failed request (a socket error or an answer other than 200) fails it.
#
#   bench/redfish-load.sh [BUILD_DIR]     (default build; needs pitool and
#                                          interchange_tool built there)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
clients=8
per_client=2000
command -v wrk >/dev/null || { echo "wrk is not installed (scripts/install-deps.sh)"; exit 1; }
pitool="$build/bin/pitool"
tool=$(find "$build/tests" -name interchange_tool -type f | head -n 1)
work=$(mktemp -d)
server=
cleanup() {
  [ -n "$server" ] && kill -TERM "$server" 2>/dev/null && wait "$server" || true
  rm -rf "$work"
}
trap cleanup EXIT

"$tool" inventory "$work" >/dev/null
"$pitool" redfish serve "$work/inventory.json" --listen 127.0.0.1:0 >"$work/serve.out" &
server=$!
for _ in $(seq 50); do grep -q listening "$work/serve.out" && break; sleep 0.1; done
port=$(sed -n 's/^listening on 127.0.0.1:\([0-9]*\)$/\1/p' "$work/serve.out")
[ -n "$port" ] || { echo "the service did not start"; exit 1; }

cat >"$work/load.lua" <<LUA
-- wrk runs for its whole duration even when every thread is done, so each
-- thread notes when its first request went and its last answer came (wall
-- clock through LuaJIT's ffi), and done() rates the requests by that span.
local ffi = require("ffi")
ffi.cdef[[
typedef struct { long tv_sec; long tv_nsec; } timespec_t;
int clock_gettime(int clock, timespec_t* now);
]]
local function now()
  local t = ffi.new("timespec_t")
  ffi.C.clock_gettime(1, t)
  return tonumber(t.tv_sec) + tonumber(t.tv_nsec) / 1e9
end
local paths = {"/redfish/v1", "/redfish/v1/Systems/0", "/redfish/v1/Systems/0/Storage/1",
  "/redfish/v1/Systems/0/Storage/1/Volumes", "/redfish/v1/Systems/0/Storage/1/Volumes/7"}
for d = 0, 9 do paths[#paths + 1] = "/redfish/v1/Systems/0/Storage/1/Drives/" .. (4096 + 25 * d) end
local threads = {}
setup = function(thread) table.insert(threads, thread) end
sent, answered, failed, first, last = 0, 0, 0, 0, 0
request = function()
  if sent == 0 then first = now() end
  sent = sent + 1
  return wrk.format("GET", paths[(sent % #paths) + 1])
end
response = function(status)
  answered = answered + 1
  if status ~= 200 then failed = failed + 1 end
  if answered == $per_client then
    last = now()
    wrk.thread:stop()
  end
end
done = function(summary, latency)
  local total, bad, from, to = 0, 0, math.huge, 0
  for _, t in ipairs(threads) do
    total = total + t:get("answered")
    bad = bad + t:get("failed")
    from = math.min(from, t:get("first"))
    to = math.max(to, t:get("last"))
  end
  io.write(string.format("load: %d clients x $per_client GETs: %d answered, %d failed, " ..
    "%.0f requests/s, latency p50 %.0f us, p99 %.0f us, max %.0f us\\n", #threads, total, bad,
    total / (to - from), latency:percentile(50), latency:percentile(99), latency.max))
end
LUA
wrk -t "$clients" -c "$clients" -d 20s --latency -s "$work/load.lua" "http://127.0.0.1:$port" \
  | tee "$work/wrk.out"
! grep -qE 'Non-2xx|Socket errors' "$work/wrk.out"
grep -q ": $((clients * per_client)) answered, 0 failed" "$work/wrk.out"
