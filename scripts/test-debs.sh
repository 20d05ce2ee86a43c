#!/usr/bin/env bash
# Builds the Debian packages, checks them with lintian, installs them on this
# machine with dpkg -i, builds and runs the consumer program of
# tests/consumer against the installed packages (through the CMake package
# and through pkg-config), and purges the packages again, also when a step
# fails. Needs root (CI runs as root).
#
#   scripts/test-debs.sh [--tests] [BUILD_DIR]      (default build-deb)
#
# --tests: BUILD_DIR is a tree that scripts/make-debs.sh --tests built
# (CI's first stage); it is packed as it stands.
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$PWD
make_options=()
if [ "${1:-}" = --tests ]; then
  make_options=(--tests)
  shift
fi
build=${1:-build-deb}

if [ "$(id -u)" -ne 0 ]; then
  echo "test-debs: must run as root (dpkg -i)" >&2
  exit 1
fi

build_log=$(mktemp)
built=$(scripts/make-debs.sh "${make_options[@]}" "$build" 2>"$build_log") || {
  tail -n 50 "$build_log" >&2
  rm -f "$build_log"
  echo "test-debs: making the packages failed" >&2
  exit 1
}
rm -f "$build_log"
mapfile -t debs <<<"$built"
printf 'test-debs: built %s\n' "${debs[@]##*/}"
# Every package that the build made (a new component is checked too).
packages=()
for deb in "${debs[@]}"; do
  packages+=("$(dpkg-deb -f "$deb" Package)")
done
for p in "${packages[@]}"; do
  if dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    echo "test-debs: $p is already installed here; not touching this machine's packages" >&2
    exit 1
  fi
done

# Errors fail the stage; warnings are shown.
lintian --fail-on error --tag-display-limit 0 "${debs[@]}" || {
  echo "test-debs: lintian found errors" >&2
  exit 1
}

work=$(mktemp -d)
# The packages hold none of the tests' API (they are built without the hooks).
for deb in "${debs[@]}"; do
  dpkg-deb -x "$deb" "$work/contents"
done
scripts/check-no-test-api.sh "$work/contents"
remove() {
  dpkg --purge "${packages[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap remove EXIT
DEBIAN_FRONTEND=noninteractive dpkg -i "${debs[@]}" >/dev/null

# The tool runs from its installed place and finds its samples.
(cd "$work" && pitool demo >/dev/null)

# The Python module imports from the system's interpreter and reaches the
# installed library.
if printf '%s\n' "${packages[@]}" | grep -qx python3-pi; then
  (cd "$work" && /usr/bin/python3 -c 'import pi, sys
assert pi.__file__.startswith("/usr/lib/python3/dist-packages/"), pi.__file__
assert pi.convert_bytes_to_other_unit(1048576)[1] == pi.Units.MEGABYTES')
fi

cmake -S "$source_dir/tests/consumer" -B "$work/cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_FIND_PACKAGE_NO_PACKAGE_REGISTRY=ON >/dev/null
cmake --build "$work/cmake" >/dev/null
mkdir -p "$work/scratch-cmake" "$work/scratch-pc"
"$work/cmake/pi-consumer" "$work/scratch-cmake"

# shellcheck disable=SC2046
${CXX:-c++} -std=c++17 "$source_dir/tests/consumer/main.cpp" -o "$work/pi-consumer-pc" \
  $(pkg-config --cflags --libs pi)
"$work/pi-consumer-pc" "$work/scratch-pc"

remove
trap - EXIT
for p in "${packages[@]}"; do
  if dpkg-query -W "$p" >/dev/null 2>&1; then
    echo "test-debs: $p is still known to dpkg" >&2
    exit 1
  fi
done
echo "test-debs: packages built, clean under lintian, installed, used and removed"
