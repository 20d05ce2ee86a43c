#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test:
#   1. the normal build and all suites (tool and consumer build included),
#   2. the same suites built with AddressSanitizer + UndefinedBehaviorSanitizer,
#   3. the configuration suites built with ThreadSanitizer,
#   4. each fuzz target for a short run (FUZZ_SECONDS, default 30) with a
#      fixed seed (FUZZ_SEED, default 1), so that a run is repeatable; longer
#      and freshly seeded runs are scripts/fuzz.sh's own job.
# Set PI_QUICK=1 to run only stage 1.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc 2>/dev/null || echo 2)
stage() { printf '\n==== %s\n' "$*"; }

stage "build and test"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs"

if [ "${PI_QUICK:-0}" = 1 ]; then
  exit 0
fi

stage "AddressSanitizer + UndefinedBehaviorSanitizer"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
  -DPI_SANITIZE=ON -DPI_BUILD_TOOLS=OFF >/dev/null
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j"$jobs"

stage "ThreadSanitizer (configuration store)"
tsan_targets=$(cd tests && ls test_config*.cpp test_ini*.cpp 2>/dev/null | sed 's/\.cpp$//' | tr '\n' ' ')
if [ -n "$tsan_targets" ]; then
  cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
    -DPI_TSAN=ON -DPI_BUILD_TOOLS=OFF >/dev/null
  # shellcheck disable=SC2086
  cmake --build build-tsan -j"$jobs" --target $tsan_targets
  TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build-tsan --output-on-failure -j"$jobs" \
    -R "^($(echo $tsan_targets | sed 's/ /|/g'))\\." --no-tests=error
fi

if [ -x scripts/fuzz.sh ]; then
  stage "fuzz targets, ${FUZZ_SECONDS:-30} s each"
  FUZZ_SEED="${FUZZ_SEED:-1}" scripts/fuzz.sh "${FUZZ_SECONDS:-30}"
fi
stage "all tests passed"
