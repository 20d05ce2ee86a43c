#!/usr/bin/env bash
# Checks that an installed tree of PI (a `cmake --install` prefix, or the
# unpacked contents of the Debian packages) holds none of the tests' API:
# no header of test-hooks/include, no hook function exported by libPI or
# libRVX, no pi._core._testing in the Python module.
#
#   scripts/check-no-test-api.sh ROOT [--hooks-built]
#
# --hooks-built: the tree comes from a build with -DPI_TEST_HOOKS=ON, whose
# libraries do export the hooks; only the headers are checked then.
set -euo pipefail

if [ $# -lt 1 ] || [ ! -d "$1" ]; then
  echo "usage: $0 ROOT [--hooks-built]" >&2
  exit 2
fi
root=$1
hooks_built=0
[ "${2:-}" = --hooks-built ] && hooks_built=1
source_dir=$(cd "$(dirname "$0")/.." && pwd)
found=0

# The test-only headers, by the names they have in test-hooks/include.
while IFS= read -r header; do
  name=${header#"$source_dir"/test-hooks/include/}
  while IFS= read -r hit; do
    echo "check-no-test-api: test header installed: $hit" >&2
    found=1
  done < <(find "$root" -path "*/include/$name")
done < <(find "$source_dir/test-hooks/include" -name '*.h')

if [ "$hooks_built" = 0 ]; then
  libraries=0
  while IFS= read -r library; do
    libraries=$((libraries + 1))
    symbols=$(nm -D --defined-only -C "$library" |
      grep -E 'PI::Test::|RVX::Test::|SetWriteStageHook|SetKeyPlaces' || true)
    if [ -n "$symbols" ]; then
      echo "check-no-test-api: $library exports test hooks:" >&2
      echo "$symbols" >&2
      found=1
    fi
  done < <(find "$root" -type f \( -name 'libPI.so*' -o -name 'libRVX.so*' \))
  if [ "$libraries" -ne 2 ]; then
    echo "check-no-test-api: expected libPI and libRVX under $root, found $libraries libraries" >&2
    found=1
  fi
  # The Python module, where it is installed: no _testing submodule in it.
  while IFS= read -r module; do
    if grep -q '_testing' "$module"; then
      echo "check-no-test-api: $module has the _testing module" >&2
      found=1
    fi
  done < <(find "$root" -type f -path '*/pi/_core*.so')
fi

if [ "$found" != 0 ]; then
  exit 1
fi
echo "check-no-test-api: no test API in $root"
