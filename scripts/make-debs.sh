#!/usr/bin/env bash
# Builds the Debian packages libpi<major> (libpi5), libpi-dev, pitool and
# python3-pi with CPack.
#
#   scripts/make-debs.sh [--tests] [BUILD_DIR]      (default build-deb)
#
# Configures BUILD_DIR for /usr (no RPATH, multiarch library directory; a
# Release build, since CPack strips the files anyway), builds the libraries
# and the tool, and leaves the .deb files in BUILD_DIR/packages; their paths
# are printed, one a line (the build's own output goes to standard error).
#
# --tests builds the test suites in the same tree, so that one build serves
# both the suites and the packages (CI's first stage builds it, its package
# stage packs it). The libraries stay exactly as packaged, without the
# tests' hooks (-DPI_TEST_HOOKS=OFF); the tests that need them skip there,
# saying so, and run in the sanitizer, ThreadSanitizer and i386 builds.
set -euo pipefail
cd "$(dirname "$0")/.."
tests=OFF
if [ "${1:-}" = --tests ]; then
  tests=ON
  shift
fi
build=${1:-build-deb}
jobs=$(nproc 2>/dev/null || echo 2)

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DPI_BUILD_TESTS="$tests" -DPI_BUILD_BENCH=OFF -DPI_BUILD_FUZZ=OFF -DPI_TEST_HOOKS=OFF \
  -DPI_PYTHON_INSTALL_DIR=lib/python3/dist-packages \
  >"$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
rm -f "$build.configure.log"
cmake --build "$build" -j"$jobs" >&2
rm -rf "$build/packages"
(cd "$build" && cpack -G DEB >cpack.log 2>&1) || { cat "$build/cpack.log"; exit 1; }
ls "$PWD/$build"/packages/*.deb
