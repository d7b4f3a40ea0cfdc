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
source scripts/package-common.sh
deb=$(package_deb "${1:-}")
need_root "debootstrap, chroot"

start=$SECONDS
fresh_bookworm fresh
cat > "$root/etc/apt/sources.list" <<LIST
deb $mirror bookworm main
deb $mirror bookworm-updates main
deb ${mirror%/debian}/debian-security bookworm-security main
LIST
echo "fresh bookworm (minbase) made in $((SECONDS - start)) s"

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
