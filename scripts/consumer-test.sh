#!/usr/bin/env bash
# Installs a build of PI into a scratch prefix and builds the consumer project
# of tests/consumer against it, through find_package(PI) and through
# pkg-config, then runs both programs; checks that the prefix holds none of
# the tests' API (scripts/check-no-test-api.sh).
#
#   scripts/consumer-test.sh BUILD_DIR [WORK_DIR] [STEP]
#
# STEP is install, cmake, pkgconfig, testapi or all (default). WORK_DIR defaults to
# BUILD_DIR/consumer; the prefix is WORK_DIR/prefix. CONSUMER_FLAGS adds
# compiler and linker flags (a sanitizer build needs its -fsanitize flags).
set -euo pipefail

if [ $# -lt 1 ]; then
  echo "usage: $0 BUILD_DIR [WORK_DIR] [install|cmake|pkgconfig|testapi|all]" >&2
  exit 2
fi
source_dir=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
work=${2:-$build/consumer}
step=${3:-all}
prefix=$work/prefix
flags=${CONSUMER_FLAGS:-}

install_step() {
  rm -rf "$prefix"
  cmake --install "$build" --prefix "$prefix" >/dev/null
  # The installed pitool must run from its own place and find its samples.
  # A tree configured for /usr installs without rpath (the system's loader
  # finds the libraries there); in this staging prefix it is shown the way.
  if [ -x "$prefix/bin/pitool" ]; then
    local library_path=
    if grep -qx 'CMAKE_INSTALL_PREFIX:PATH=/usr' "$build/CMakeCache.txt"; then
      library_path=$(dirname "$(find "$prefix" -name 'libPI.so*' -print -quit)")
    fi
    (cd "$work" && env ${library_path:+LD_LIBRARY_PATH="$library_path"} \
      "$prefix/bin/pitool" help OP_START_REBUILD >/dev/null)
    (cd / && env -u PI_EXAMPLES_DIR ${library_path:+LD_LIBRARY_PATH="$library_path"} \
      "$prefix/bin/pitool" demo >/dev/null)
  fi
  echo "installed into $prefix"
}

cmake_step() {
  local dir=$work/cmake
  rm -rf "$dir"
  cmake -S "$source_dir/tests/consumer" -B "$dir/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_FIND_PACKAGE_NO_PACKAGE_REGISTRY=ON -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
  cmake --build "$dir/build" >/dev/null
  mkdir -p "$dir/scratch"
  "$dir/build/pi-consumer" "$dir/scratch"
}

pkgconfig_step() {
  local dir=$work/pkgconfig
  rm -rf "$dir"
  mkdir -p "$dir/scratch"
  local pcdir
  pcdir=$(dirname "$(find "$prefix" -name pi.pc -print -quit)")
  export PKG_CONFIG_PATH=$pcdir
  local libdir
  libdir=$(pkg-config --variable=libdir pi)
  # shellcheck disable=SC2046,SC2086
  ${CXX:-c++} -std=c++17 $flags "$source_dir/tests/consumer/main.cpp" -o "$dir/pi-consumer" \
    $(pkg-config --cflags --libs pi) -Wl,-rpath,"$libdir"
  "$dir/pi-consumer" "$dir/scratch"
}

# No test header in the prefix; no hook exported by the libraries and no
# pi._core._testing unless the build was configured with the hooks.
testapi_step() {
  local options=()
  if grep -qx 'PI_TEST_HOOKS:BOOL=ON' "$build/CMakeCache.txt"; then
    options=(--hooks-built)
  fi
  "$source_dir/scripts/check-no-test-api.sh" "$prefix" "${options[@]}"
}

mkdir -p "$work"
case $step in
  install) install_step ;;
  cmake) cmake_step ;;
  pkgconfig) pkgconfig_step ;;
  testapi) testapi_step ;;
  all) install_step; cmake_step; pkgconfig_step; testapi_step ;;
  *) echo "$0: unknown step '$step'" >&2; exit 2 ;;
esac
