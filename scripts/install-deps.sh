#!/usr/bin/env bash
# Installs from Debian's packages what PI needs to build, test, benchmark and
# fuzz. Quiet and quick when everything is there; runs apt-get update only
# when something is missing.
set -euo pipefail

packages=(
  g++ cmake make pkg-config
  libboost-dev libboost-filesystem-dev libboost-system-dev
  libpugixml-dev libssl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev
  libsgutils2-dev libinih-dev libsqlite3-dev
  clang libclang-rt-14-dev
  python3-dev pybind11-dev python3-pytest
  debootstrap lintian dpkg-dev
  rapidjson-dev libmsgpack-cxx-dev nlohmann-json3-dev python3-msgpack libsimdjson-dev
  prometheus prometheus-node-exporter python3-yaml  # promtool, the monitoring end-to-end test
  python3-jsonschema redfishtool  # the Redfish view's tests: DMTF schemas, a Redfish client
  wrk  # the Redfish service's load test (bench/)
)

# Only the host's CI stages use these: sanitizers and fuzzers with clang, the
# i386 root, building and checking the Debian packages, the monitoring tests
# against Prometheus (which the i386 run skips). PI_DEPS_BUILD_ONLY=1
# (the i386 root) leaves them out.
host_only=" clang libclang-rt-14-dev debootstrap lintian dpkg-dev prometheus prometheus-node-exporter wrk "
if [ "${PI_DEPS_BUILD_ONLY:-0}" = 1 ]; then
  build_only=()
  for p in "${packages[@]}"; do
    [[ $host_only == *" $p "* ]] || build_only+=("$p")
  done
  packages=("${build_only[@]}")
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
SUDO=
if [ "$(id -u)" -ne 0 ]; then SUDO=sudo; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
