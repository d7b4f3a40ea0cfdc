#!/usr/bin/env bash
# Proves the package on a fresh Debian 12 system, so that a dependency this machine happens
# to have cannot hide: a minimal bookworm made with debootstrap in a temporary folder, and
# scripts/package-check.sh run inside it (install, play as nobody, purge). As root:
#
#   scripts/package-fresh.sh [--screenshot FILE] [DEB]     (DEB defaults to dist/dorvala_*.deb)
#
# Needs Debian's mirror ($DORVALA_DEBIAN_MIRROR, default http://deb.debian.org/debian). The
# mounts live in a mount namespace of their own and vanish with it; the folder is removed.
set -euo pipefail
cd "$(dirname "$0")/.."

check_args=()
if [ "${1:-}" = --screenshot ]; then
  screenshot=$(realpath -m "$2")
  check_args+=(--screenshot /check/shot.png)
  shift 2
fi
deb=${1:-}
if [ -z "$deb" ]; then
  debs=(dist/dorvala_*_amd64.deb)
  deb=${debs[0]}
fi
[ -f "$deb" ] || { echo "no package: run scripts/package.sh first" >&2; exit 1; }
[ "$(id -u)" -eq 0 ] || { echo "run as root (debootstrap, chroot)" >&2; exit 1; }
mirror=${DORVALA_DEBIAN_MIRROR:-http://deb.debian.org/debian}

if ! command -v debootstrap > /dev/null; then
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq update
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq install debootstrap
fi

root=$(mktemp -d /var/tmp/dorvala-fresh.XXXXXX)
chmod 755 "$root"  # apt inside downloads as user _apt
cleanup() {
  # Nothing may still be mounted below the folder before it goes (it would take /dev along).
  if grep -q " $root" /proc/self/mountinfo; then
    echo "mounts left below $root; not removing it" >&2
  else
    rm -rf "$root"
  fi
}
trap cleanup EXIT

start=$SECONDS
debootstrap --variant=minbase bookworm "$root" "$mirror" > "$root.log" 2>&1 \
  || { tail -20 "$root.log"; rm -f "$root.log"; exit 1; }
rm -f "$root.log"
cat > "$root/etc/apt/sources.list" <<LIST
deb $mirror bookworm main
deb $mirror bookworm-updates main
deb ${mirror%/debian}/debian-security bookworm-security main
LIST
echo "fresh bookworm (minbase) made in $((SECONDS - start)) s"

mkdir -p "$root/check"
cp scripts/package-check.sh "$root/check/"
cp "$deb" "$root/check/"
status=0
unshare --mount --propagation private /bin/bash -euc '
  root=$1
  shift
  mount --bind "$root" "$root"  # a mount point as its root, which "ip netns" needs
  mount -t proc proc "$root/proc"
  mount -t sysfs sysfs "$root/sys"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs tmpfs "$root/run"
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    /bin/bash /check/package-check.sh "$@"
' sh "$root" ${check_args[@]+"${check_args[@]}"} "/check/$(basename "$deb")" || status=$?
if [ -n "${screenshot:-}" ] && [ -f "$root/check/shot.png" ]; then
  cp "$root/check/shot.png" "$screenshot"
  echo "screenshot: $screenshot"
fi
[ "$status" -eq 0 ] || { echo "fresh system check FAILED after $((SECONDS - start)) s" >&2; exit "$status"; }
echo "fresh system check passed in $((SECONDS - start)) s"
