#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and
# UndefinedBehaviorSanitizer on) in build-fuzz and runs each in turn for the
# given time on a copy of its seed corpus, together with the inputs of faults
# found earlier (fuzz/regressions/<target>, read only). The tree's corpus is
# never changed. Exits non-zero when any target finds something; the input
# is then kept in build-fuzz/artifacts/ and the end of the log printed.
#
#   scripts/fuzz.sh [seconds per target, default 30] [target ...]
#
# FUZZ_SEED fixes libFuzzer's random seed (CI sets it, so that its run walks
# the same inputs each time and a finding there shows up again here); unset,
# every run explores afresh.
#
# Growing the seed corpus on purpose (after a long run, say) is a separate,
# deliberate step: fuzz_<target> -merge=1 fuzz/corpus/<target> <new inputs>.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-30}"
[ $# -gt 0 ] && shift
all_targets=(logical_drive markup ini drive_identity event_placeholders string_list json msgpack change_list sense_data)
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=("${all_targets[@]}")

if ! command -v clang++ >/dev/null; then
  echo "fuzz: clang++ is missing; scripts/install-deps.sh installs it" >&2
  exit 1
fi

# FUZZ_BUILD names a tree already configured with clang and -DPI_BUILD_FUZZ=ON
# (CI's sanitizer stage builds one for its suites and the targets at once);
# otherwise build-fuzz is made for the targets alone.
build=${FUZZ_BUILD:-build-fuzz}
mkdir -p "$build"
if [ -z "${FUZZ_BUILD:-}" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DPI_BUILD_FUZZ=ON -DPI_BUILD_TESTS=OFF -DPI_BUILD_TOOLS=OFF \
    >"$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
elif ! grep -qx 'PI_BUILD_FUZZ:BOOL=ON' "$build/CMakeCache.txt" 2>/dev/null; then
  echo "fuzz: $build is not a tree configured with -DPI_BUILD_FUZZ=ON" >&2
  exit 2
fi
cmake --build "$build" -j2 --target fuzz_targets >"$build/build.log" 2>&1 ||
  { tail -50 "$build/build.log"; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/pi-fuzz.XXXXXX")
# The ini target writes its files here: in memory when /dev/shm is there.
scratch=$(mktemp -d /dev/shm/pi-fuzz.XXXXXX 2>/dev/null || mktemp -d "$work/scratch.XXXXXX")
trap 'rm -rf "$work" "$scratch"' EXIT
export PI_FUZZ_TMPDIR="$scratch"
artifacts="$PWD/$build/artifacts"
mkdir -p "$artifacts"

# Undefined behaviour stops the run like a crash does.
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"
export ASAN_OPTIONS="detect_leaks=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"

failed=()
for target in "${targets[@]}"; do
  if [ ! -d "fuzz/corpus/$target" ]; then
    echo "fuzz: no target $target" >&2
    exit 2
  fi
  cp -r "fuzz/corpus/$target" "$work/$target"
  inputs=("$work/$target")
  [ -d "fuzz/regressions/$target" ] && inputs+=("fuzz/regressions/$target")
  log="$build/fuzz-$target.log"
  status=0
  "$build/fuzz/fuzz_$target" -seed="${FUZZ_SEED:-0}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -max_len=4096 -print_final_stats=1 -artifact_prefix="$artifacts/$target-" \
    "${inputs[@]}" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -1 || true)
  if [ "$status" -ne 0 ] || grep -q 'runtime error:' "$log"; then
    failed+=("$target")
    printf '%-20s FAILED (exit %s), log %s\n' "$target" "$status" "$log"
    tail -40 "$log"
  else
    printf '%-20s ok: %s runs in %s s, %s\n' "$target" "${runs:-?}" "$seconds" "${coverage:-?}"
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzz: findings in ${failed[*]}; inputs in $artifacts" >&2
  exit 1
fi
