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
  rapidjson-dev libmsgpack-cxx-dev nlohmann-json3-dev python3-msgpack libsimdjson-dev
)

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
