#!/usr/bin/env bash
# Builds the benchmarks (Release, in build-bench) and prints one table: each
# measurement of the library next to its peer library or baseline from the
# same run, with the ratio and the target.
#
#   scripts/bench.sh [extra Google Benchmark flags, e.g. --benchmark_filter=sense]
#
# BENCH_REPETITIONS (default 5) and BENCH_MIN_TIME (seconds per repetition,
# default 0.2) trade time for steadier medians. BENCH_TEST_HOOKS=OFF measures
# the library built without the tests' allocation hook (the default build,
# which is measured otherwise, has it). Google Benchmark's own report
# goes to build-bench/bench-console.txt and its JSON to build-bench/bench.json.
# Files the benchmarks write (the configuration file, the SQLite database) go
# to PI_BENCH_DIR, by default build-bench/bench-data, on the disk of the
# checkout.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build-bench

mkdir -p "$build"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DPI_BUILD_BENCH=ON -DPI_BUILD_TOOLS=OFF \
  -DPI_TEST_HOOKS="${BENCH_TEST_HOOKS:-ON}" \
  >"$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" -j2 --target pi_bench >/dev/null

export PI_BENCH_DIR="${PI_BENCH_DIR:-$PWD/$build/bench-data}"
rm -rf "$PI_BENCH_DIR"
mkdir -p "$PI_BENCH_DIR"

"$build/bench/pi_bench" \
  --benchmark_repetitions="${BENCH_REPETITIONS:-5}" \
  --benchmark_min_time="${BENCH_MIN_TIME:-0.2}" \
  --benchmark_enable_random_interleaving=true \
  --benchmark_out="$build/bench.json" --benchmark_out_format=json \
  "$@" 2>"$build/bench-console.txt"
