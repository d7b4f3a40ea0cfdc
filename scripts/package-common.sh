# What the package checks share; sourced by them from the repository's top folder.

# The package to check: the path given, else the one scripts/package.sh wrote; absolute.
package_deb() {
  local deb=${1:-}
  if [ -z "$deb" ]; then
    local debs=(dist/dorvala_*_amd64.deb)
    deb=${debs[0]}
  fi
  [ -f "$deb" ] || { echo "no package: run scripts/package.sh first" >&2; return 1; }
  realpath "$deb"
}

# Stops unless run as root; $1 says what needs it.
need_root() {
  [ "$(id -u)" -eq 0 ] || { echo "run as root ($1)" >&2; exit 1; }
}

# A minimal bookworm made with debootstrap in a fresh folder under /var/tmp, which becomes
# $root and goes at exit. Arguments: a word for the folder's name, then debootstrap's extra
# options. Debian's mirror is $DORVALA_DEBIAN_MIRROR (default deb.debian.org).
fresh_bookworm() {
  mirror=${DORVALA_DEBIAN_MIRROR:-http://deb.debian.org/debian}
  if ! command -v debootstrap > /dev/null; then
    DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq update
    DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq install debootstrap
  fi
  root=$(mktemp -d "/var/tmp/dorvala-$1.XXXXXX")
  shift
  chmod 755 "$root"  # apt inside downloads as user _apt
  trap remove_root EXIT
  debootstrap --variant=minbase "$@" bookworm "$root" "$mirror" > "$root.log" 2>&1 \
    || { tail -20 "$root.log"; rm -f "$root.log"; exit 1; }
  rm -f "$root.log"
  mkdir -p "$root/check"
}

remove_root() {
  # Nothing may still be mounted below the folder before it goes (it would take /dev along).
  if grep -q " $root" /proc/self/mountinfo; then
    echo "mounts left below $root; not removing it" >&2
  else
    rm -rf "$root"
  fi
}
