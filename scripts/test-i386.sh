#!/usr/bin/env bash
# Builds PI, pitool and the tests in a Debian i386 root and runs every test
# there: the system's own platform is 32-bit x86.
#
#   scripts/test-i386.sh
#
# The root lives outside the checkout, in PI_I386_CACHE (default
# /var/cache/pi-i386), and is kept between runs: a repeated run only updates
# the build. It is made with debootstrap from the Debian mirror and release of
# this machine's own apt configuration; an interrupted debootstrap is
# detected (no completion mark) and started over. Inside the root the build
# dependencies come from scripts/install-deps.sh (without the host-only
# tools), the checkout is mounted read-only at /pi/src and the build tree is
# /pi/build. Mounts live in a private mount namespace, so nothing stays
# mounted when the script ends, however it ends.
#
# A minimal root has no /etc/machine-id: the tests that encrypt get their key
# from RVX_AES_KEY_FILE, a 32-byte random key file made once in the root
# (/pi/aes.key).
#
# Needs root (CI runs as root), debootstrap and unshare; reads no stdin.
set -euo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
cache=${PI_I386_CACHE:-/var/cache/pi-i386}
root=$cache/root
mark=$root/.pi-root-complete
jobs=$(nproc 2>/dev/null || echo 2)

die() {
  echo "test-i386: $*" >&2
  exit 1
}

[ "$(id -u)" -eq 0 ] || die "must run as root (debootstrap and chroot need it)"
command -v debootstrap >/dev/null || die "debootstrap is missing (scripts/install-deps.sh installs it)"
command -v unshare >/dev/null || die "unshare is missing (util-linux)"

# The release codename and the mirror that carries it, from this machine's
# apt sources (deb822 .sources files and one-line .list files). The first
# "deb" entry whose suites include the codename itself wins.
codename() {
  # shellcheck disable=SC1091
  (. /etc/os-release && echo "${VERSION_CODENAME:-}")
}

host_mirror() {
  local suite=$1 f
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -r "$f" ] || continue
    awk -v suite="$suite" '
      function flush() {
        if (types ~ /(^| )deb( |$)/ && (" " suites " ") ~ (" " suite " ") && uris != "") {
          split(uris, u, " "); print u[1]; found = 1; exit
        }
        types = suites = uris = ""
      }
      /^[ \t]*#/ { next }
      /^[ \t]*$/ { flush(); next }
      /^Types:/  { sub(/^Types:[ \t]*/, "");  types = $0 }
      /^URIs:/   { sub(/^URIs:[ \t]*/, "");   uris = $0 }
      /^Suites:/ { sub(/^Suites:[ \t]*/, ""); suites = $0 }
      END { if (!found) flush() }' "$f" | head -n1
  done
  for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -r "$f" ] || continue
    # deb [options] URI suite components...
    sed -e 's/#.*//' -e 's/\[[^]]*\]//' "$f" |
      awk -v suite="$suite" '$1 == "deb" && $3 == suite { print $2; exit }'
  done
}

suite=$(codename)
[ -n "$suite" ] || die "cannot tell this machine's Debian release from /etc/os-release"
mirror=$(host_mirror "$suite" | grep -E '^(https?|ftp)://' | head -n1 || true)
[ -n "$mirror" ] || die "no Debian mirror for '$suite' in /etc/apt/sources.list*"

mkdir -p "$cache"
# One run at a time per cache: a second run waits instead of sharing a root
# that is being made.
exec 9>"$cache/lock"
flock 9

# Runs "$@" with the root's /proc, /dev and the checkout mounted, in a mount
# namespace of its own that disappears with the command.
in_root() {
  # shellcheck disable=SC2016 # expanded by the inner shell
  unshare --mount --propagation private -- /bin/bash -euo pipefail -c '
    root=$1 src=$2; shift 2
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mkdir -p "$root/pi/src"
    mount --bind "$src" "$root/pi/src"
    mount -o remount,bind,ro "$root/pi/src"
    # Test data that sits beside the checkout, when there is any.
    if [ -d "$src/../shared/data" ]; then
      mkdir -p "$root/pi/shared/data"
      mount --bind "$src/../shared/data" "$root/pi/shared/data"
    fi
    exec chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
      LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive RVX_AES_KEY_FILE=/pi/aes.key "$@"
  ' in-root "$root" "$source_dir" "$@" </dev/null
}

make_root() {
  echo "test-i386: making the i386 root of $suite from $mirror in $root"
  rm -rf --one-file-system "$root"
  mkdir -p "$root"
  # In a namespace of its own too, so that mounts of an interrupted run go away.
  unshare --mount --propagation private -- \
    debootstrap --arch=i386 --variant=minbase "$suite" "$root" "$mirror" </dev/null >"$cache/debootstrap.log" 2>&1 ||
    {
      tail -n 20 "$cache/debootstrap.log" >&2
      # A kernel built without 32-bit x86 support refuses the root's own
      # programs; nothing of this stage can run on such a machine.
      local refusal
      refusal=$(chroot "$root" /bin/true 2>&1) || true
      case $refusal in
      *'Exec format error'*)
        uname -r >"$no_ia32"
        skip_no_ia32
        ;;
      esac
      die "debootstrap failed (log: $cache/debootstrap.log)"
    }
  touch "$mark"
}

# Says loudly that the stage did not run, and why; exits 0 so that the other
# stages' verdict stands.
no_ia32=$cache/no-ia32-kernel
skip_no_ia32() {
  echo "test-i386: SKIPPED: this machine's kernel ($(uname -r)) cannot run 32-bit x86 programs" \
    "(exec of the i386 root's /bin/true: Exec format error); the i386 build and tests did not run" >&2
  exit 0
}

start=$(date +%s)
if [ -f "$no_ia32" ] && [ "$(cat "$no_ia32")" = "$(uname -r)" ]; then
  skip_no_ia32
fi
if [ -f "$mark" ]; then
  echo "test-i386: reusing the i386 root in $root"
else
  make_root
fi
cp /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
if [ ! -s "$root/pi/aes.key" ]; then
  mkdir -p "$root/pi"
  head -c 32 /dev/urandom >"$root/pi/aes.key.new"
  chmod 600 "$root/pi/aes.key.new"
  mv "$root/pi/aes.key.new" "$root/pi/aes.key"
fi
[ "$(in_root dpkg --print-architecture)" = i386 ] || die "the root in $root is not i386"

# A package run that was cut off is finished first; then what the build
# needs (install-deps.sh is quick when nothing is missing).
in_root dpkg --configure -a
in_root env PI_DEPS_BUILD_ONLY=1 /pi/src/scripts/install-deps.sh
echo "test-i386: root ready after $(($(date +%s) - start)) s"

# shellcheck disable=SC2016 # expanded by the shell in the root
in_root /bin/bash -euo pipefail -c '
  cmake -S /pi/src -B /pi/build -DCMAKE_BUILD_TYPE=Release -DPI_TEST_HOOKS=ON >/dev/null
  cmake --build /pi/build -j"$1"
  ctest --test-dir /pi/build --output-on-failure -j"$1"
' build "$jobs"
echo "test-i386: done after $(($(date +%s) - start)) s"
