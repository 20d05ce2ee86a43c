#!/usr/bin/env bash
# Installs what is missing, builds the library and pitool, and runs pitool's
# tour over the sample files in examples/. Extra arguments go to
# `pitool demo` (for example --json). PI_BUILD_DIR picks another build
# directory than build/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
build=${PI_BUILD_DIR:-build}
jobs=$(nproc 2>/dev/null || echo 2)

echo "demo.sh: building pitool in $build/ (the first build takes a few minutes)" >&2
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$jobs" --target pitool >/dev/null
exec "$build/bin/pitool" demo --examples examples "$@"
