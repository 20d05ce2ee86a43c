#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test:
#   1. the release build (g++), configured as the Debian packages are, and
#      all suites (tool and consumer build included; the tests that need the
#      libraries' test hooks, which packages leave out, skip here and say so),
#   2. the same suites, the tool and the Python module included, built with
#      clang, AddressSanitizer + UndefinedBehaviorSanitizer and the test hooks
#      (-DPI_TEST_HOOKS=ON): the clang build of CI. The fuzz targets are built
#      in the same tree,
#   3. the configuration suites built with clang and ThreadSanitizer (with the
#      test hooks, which their write stage cases use),
#   4. each fuzz target for a short run (FUZZ_SECONDS, default 15) with a
#      fixed seed (FUZZ_SEED, default 1), so that a run is repeatable; longer
#      and freshly seeded runs are scripts/fuzz.sh's own job,
#   5. the Debian packages, packed from stage 1's tree: checked with lintian,
#      installed, used by the consumer program, purged again
#      (scripts/test-debs.sh; needs root),
#   6. the whole build (with the test hooks) and test suite in a Debian
#      i386 root (scripts/test-i386.sh; needs root, the root is cached in
#      /var/cache/pi-i386); it runs beside stage 4, which keeps only one
#      core busy, and stage 5 comes last.
# Each stage's time is printed, and a summary at the end (stage 6's entry
# is the time it added after stage 4; its whole time is printed with it).
# Set PI_QUICK=1 to run only stage 1. PI_SKIP_STAGES takes a list of stage
# numbers to leave out (e.g. "5 6" on a machine where root is not at hand).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc 2>/dev/null || echo 2)

summary=()
stage_name=
stage_start=0
stage_end() {
  if [ -n "$stage_name" ]; then
    local seconds=$(($(date +%s) - stage_start))
    printf '==== %s: %d min %02d s\n' "$stage_name" $((seconds / 60)) $((seconds % 60))
    summary+=("$(printf '%4d s  %s' "$seconds" "$stage_name")")
  fi
  stage_name=
}
stage() {
  stage_end
  stage_name=$*
  stage_start=$(date +%s)
  printf '\n==== %s\n' "$stage_name"
}
skipped() {
  case " ${PI_SKIP_STAGES:-} " in *" $1 "*) return 0 ;; esac
  return 1
}
finish() {
  stage_end
  printf '\n==== stage times\n'
  printf '%s\n' "${summary[@]}"
}

stage "1 build and test (g++, release as packaged)"
scripts/make-debs.sh --tests build
ctest --test-dir build --output-on-failure -j"$jobs"

if [ "${PI_QUICK:-0}" = 1 ]; then
  finish
  exit 0
fi

# The sanitizer stages build with clang: that is CI's clang build too. The
# consumer test builds with the same compiler (CXX), whose sanitizer runtime
# the installed libraries need.
if ! skipped 2; then
  stage "2 clang, AddressSanitizer + UndefinedBehaviorSanitizer"
  CC=clang CXX=clang++ cmake -S . -B build-asan-clang -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" -DPI_SANITIZE=ON -DPI_BUILD_FUZZ=ON -DPI_TEST_HOOKS=ON >/dev/null
  cmake --build build-asan-clang -j"$jobs"
  CXX=clang++ ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan-clang --output-on-failure -j"$jobs"
fi

if ! skipped 3; then
  stage "3 clang, ThreadSanitizer (configuration store)"
  tsan_targets=$(cd tests && ls test_config*.cpp test_ini*.cpp 2>/dev/null | sed 's/\.cpp$//' | tr '\n' ' ')
  if [ -n "$tsan_targets" ]; then
    CC=clang CXX=clang++ cmake -S . -B build-tsan-clang -DCMAKE_BUILD_TYPE=Debug \
      -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" -DPI_TSAN=ON -DPI_TEST_HOOKS=ON -DPI_BUILD_TOOLS=OFF >/dev/null
    # shellcheck disable=SC2086
    cmake --build build-tsan-clang -j"$jobs" --target $tsan_targets
    TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build-tsan-clang --output-on-failure -j"$jobs" \
      -R "^($(echo $tsan_targets | sed 's/ /|/g'))\\." --no-tests=error
  fi
fi

# A fuzz target keeps one core busy; the i386 stage runs beside the fuzz
# stage, at a lower priority, on the other core. Its output goes to
# build/test-i386.log and is shown when it ends.
i386_pid=
i386_log=build/test-i386.log
i386_start=0
fuzzing=0
if [ -x scripts/fuzz.sh ] && ! skipped 4; then fuzzing=1; fi
if [ "$fuzzing" = 1 ] && ! skipped 6; then
  stage_end
  echo "==== 6 i386 root: started beside the fuzz stage (log: $i386_log)"
  i386_start=$(date +%s)
  # A session of its own, so that stopping it stops its build too.
  setsid nice -n 10 scripts/test-i386.sh >"$i386_log" 2>&1 </dev/null &
  i386_pid=$!
  trap '[ -z "$i386_pid" ] || kill -- -"$i386_pid" 2>/dev/null || true' EXIT
fi

if [ "$fuzzing" = 1 ]; then
  stage "4 fuzz targets, ${FUZZ_SECONDS:-15} s each"
  fuzz_build=
  skipped 2 || fuzz_build=build-asan-clang
  FUZZ_BUILD=$fuzz_build FUZZ_SEED="${FUZZ_SEED:-1}" scripts/fuzz.sh "${FUZZ_SECONDS:-15}"
fi

if ! skipped 6; then
  if [ -n "$i386_pid" ]; then
    stage "6 i386 root: build and test (the wait after stage 4)"
    i386_status=0
    wait "$i386_pid" || i386_status=$?
    i386_pid=
    cat "$i386_log"
    echo "==== 6 took $(($(date +%s) - i386_start)) s from its start beside stage 4"
    [ "$i386_status" = 0 ] || exit "$i386_status"
  else
    stage "6 i386 root: build and test"
    scripts/test-i386.sh
  fi
fi

if ! skipped 5; then
  stage "5 Debian packages: build, lintian, install, consumer, purge"
  scripts/test-debs.sh --tests build
fi

finish
echo "all tests passed"
