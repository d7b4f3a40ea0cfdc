#!/usr/bin/env bash
# Proves the package as players meet it. As root, on a Debian 12 machine:
#
#   scripts/package-check.sh [--screenshot FILE] [DEB]     (DEB defaults to dist/dorvala_*.deb)
#
# 1. The package's dependencies, then apt-get install ./DEB; the program carries cap_net_bind_service; the commands, manual
#    pages, desktop entry, AppStream data and systemd unit are in place and valid.
# 2. Two machines as network namespaces on one link (198.18.0.0/24; a namespace starts with
#    the kernel's default unprivileged port limit, 1024): "server" runs dorvala-registry with
#    the unit's own command line, "player" runs `dorvala --host --name Budi` as user nobody
#    with a HOME of its own and the address the program finds itself.
#    The registry already holds an entry for the player's machine, as a host that was killed
#    leaves it: the host's own lobby lists its own address and probes it. The host listens on
#    1009 and, after that probing, a "ping" sent from 127.0.0.1 to port 79 is answered
#    "pong"; another machine lists the host's entry through a PASV data connection that
#    points at the registry's address (and a port of the configured passive range);
#    SIGTERM ends the host with status 0 and the entry withdrawn.
#    With --screenshot (before a.), the installed game started with the desktop entry's Exec command line
#    (as nobody, under Xvfb) is saved to FILE.
# 3. apt-get purge dorvala; no path under /usr, /etc or /var differs from before the install
#    (apt's and dpkg's caches and logs aside).
set -euo pipefail
cd "$(dirname "$0")/.."

screenshot=""
if [ "${1:-}" = --screenshot ]; then
  screenshot=$(realpath -m "$2")
  shift 2
fi
# This script is copied alone into a fresh system (package-fresh.sh), so it finds the
# package itself rather than through package-common.sh.
deb=${1:-}
if [ -z "$deb" ]; then
  debs=(dist/dorvala_*_amd64.deb)
  deb=${debs[0]}
fi
[ -f "$deb" ] || { echo "no package: run scripts/package.sh first" >&2; exit 1; }
deb=$(realpath "$deb")
[ "$(id -u)" -eq 0 ] || { echo "run as root (it installs and purges the package)" >&2; exit 1; }
if dpkg-query -W -f='${Status}' dorvala 2>/dev/null | grep -q installed; then
  echo "dorvala is installed already; purge it first (apt-get purge dorvala)" >&2
  exit 1
fi

apt() {
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq "$@"
}
tools=(iproute2)
[ -n "$screenshot" ] && tools+=(xvfb xauth imagemagick)
need=()
for p in "${tools[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || need+=("$p")
done
if [ ${#need[@]} -gt 0 ]; then
  { apt update && apt install --no-install-recommends "${need[@]}"; } > /dev/null
fi

passed=0
ok() { passed=$((passed + 1)); echo "ok   $*"; }
fail() { echo "FAIL $*" >&2; exit 1; }

# Everything under /usr, /etc and /var, less what apt and dpkg keep for themselves and the
# icon theme's cache, which gtk-update-icon-cache's trigger writes whenever any package adds
# or removes icons (the screenshot's X tools bring it along) and which no package owns.
snapshot() {
  find /usr /etc /var -xdev \( -path /var/cache -o -path /var/log -o -path /var/lib/apt \
    -o -path /var/tmp -o -path /var/backups -o -name '*-old' -o -name '*.dpkg-*' \
    -o -name icon-theme.cache \) -prune \
    -o -print | LC_ALL=C sort
}

work=$(mktemp -d /tmp/dorvala-package-check.XXXXXX)
chmod 755 "$work"
ns_player=dorvala-player-$$
ns_server=dorvala-server-$$
registry_pid=""
host_pid=""
cleanup() {
  local pid
  for pid in $host_pid $registry_pid; do kill "$pid" 2>/dev/null || true; done
  ip netns del "$ns_player" 2>/dev/null || true
  ip netns del "$ns_server" 2>/dev/null || true
  rm -rf "$work"
  if dpkg-query -W -f='${Status}' dorvala 2>/dev/null | grep -q installed; then
    apt purge dorvala > /dev/null || true
  fi
}
trap cleanup EXIT

# ---------------------------------------------------------------- 1. install
# What the package needs comes first, so that the snapshot compared after the purge holds
# them: the purge removes the package, not the libraries it brought along.
apt update > /dev/null
apt satisfy "$(dpkg-deb -f "$deb" Depends)" > "$work/depends.log" 2>&1 \
  || { cat "$work/depends.log"; fail "apt-get satisfy the package's Depends"; }
snapshot > "$work/before"
apt install "$deb" > "$work/install.log" 2>&1 || { cat "$work/install.log"; fail "apt-get install"; }
ok "apt-get install $(basename "$deb")"

program=/usr/lib/dorvala/dorvala
[ "$(getcap "$program")" = "$program cap_net_bind_service=ep" ] \
  || fail "$program lacks cap_net_bind_service: $(getcap "$program")"
ok "the program carries cap_net_bind_service=ep and nothing else: $(getcap "$program")"
[ "$(command -v dorvala)" = /usr/bin/dorvala ] && [ "$(readlink -f /usr/bin/dorvala)" = "$program" ] \
  || fail "dorvala on PATH does not lead to $program"
# The sound cues' module, loaded at the first cue: the package's Depends must bring Qt
# Multimedia, which the program itself does not link.
effects=/usr/lib/dorvala/dorvala_sound_effects.so
[ -f "$effects" ] || fail "no $effects: every sound cue would be silent"
! ldd "$effects" | grep -q 'not found' || { ldd "$effects"; fail "$effects lacks libraries"; }
dorvala --version | grep -q '^Dorvala Online 1\.' || fail "dorvala --version"
dorvala-registry --help | grep -q -- --passive-ports || fail "dorvala-registry --help"
ok "dorvala and dorvala-registry on PATH"
for page in /usr/share/man/man6/dorvala.6.gz /usr/share/man/man1/dorvala-registry.1.gz; do
  [ -s "$page" ] || fail "no manual page $page"
done
desktop=/usr/share/applications/id.pobrek.Dorvala.desktop
unit=/lib/systemd/system/dorvala-registry.service
if command -v desktop-file-validate > /dev/null; then desktop-file-validate "$desktop"; fi
if command -v appstreamcli > /dev/null; then
  appstreamcli validate --no-net /usr/share/metainfo/id.pobrek.Dorvala.metainfo.xml > /dev/null
fi
if command -v systemd-analyze > /dev/null; then systemd-analyze verify --man=no "$unit"; fi
ok "manual pages, desktop entry, AppStream data and unit installed"

# ---------------------------------------------------------------- 2. two machines
ip netns add "$ns_player"
ip netns add "$ns_server"
ip link add dvp$$ netns "$ns_player" type veth peer name dvs$$ netns "$ns_server"
ip -n "$ns_player" addr add 198.18.0.2/24 dev dvp$$
ip -n "$ns_server" addr add 198.18.0.1/24 dev dvs$$
ip -n "$ns_player" link set dvp$$ up
ip -n "$ns_server" link set dvs$$ up
ip -n "$ns_player" link set lo up
ip -n "$ns_server" link set lo up
[ "$(ip netns exec "$ns_player" cat /proc/sys/net/ipv4/ip_unprivileged_port_start)" -ge 1024 ] \
  || fail "the player's machine lets anybody bind low ports; the check would prove nothing"

home=$work/home
mkdir -p "$home"
chown nobody:nogroup "$home"
# A player's session: user nobody, its own HOME, an ordinary PATH, nothing else inherited.
# nsenter, not "ip netns exec" (which forks), and no shell function around it: $! of a
# command started in the background is then the player's program itself.
player=(setpriv --reuid=nobody --regid=nogroup --clear-groups
        env -i HOME="$home" PATH=/usr/local/bin:/usr/bin:/bin:/usr/games LANG=C.UTF-8)
on() { echo --net=/run/netns/"$1"; }
wait_until() { # tenths-of-a-second command...
  local tries=$1 i
  shift
  for ((i = 0; i < tries; i++)); do
    "$@" && return 0
    sleep 0.1
  done
  return 1
}
listener() { # namespace port: the process name listening there
  ip netns exec "$1" ss -ltnpH "sport = :$2" | sed -n 's/.*users:(("\([^"]*\)".*/\1/p' | head -1
}
is_listening() { [ "$(listener "$1" "$2")" = "$3" ]; }

if [ -n "$screenshot" ]; then
  read -ra exec_line <<< "$(sed -n 's/^Exec=//p' "$desktop" | head -1)"
  nsenter "$(on "$ns_player")" "${player[@]}" SHOT="$home/shot.png" xvfb-run -a -s "-screen 0 1280x800x24" sh -c \
    '"$@" & sleep 5; import -window root "$SHOT"; kill $!; wait' sh "${exec_line[@]}" \
    > "$work/shot.log" 2>&1 || true
  [ -s "$home/shot.png" ] || { cat "$work/shot.log"; fail "no screenshot"; }
  # The window alone, without the empty screen around it (no window manager places it).
  convert "$home/shot.png" -fuzz 1% -trim +repage "$screenshot"
  ok "screenshot of \"Exec=${exec_line[*]}\" saved to $screenshot"
fi

# A player's first start: nothing configured anywhere (no settings file, no DORVALA_FTP_URL).
# "Mulai" (the quick start takes its road) must reach the setup screen and the host screen
# without any message box.
first=$work/first-start.log
(sleep 8; echo state; sleep 1; echo quit) | nsenter "$(on "$ns_player")" "${player[@]}" \
  QT_QPA_PLATFORM=offscreen dorvala --control --host --name Budi > "$first" 2>&1 || true
grep -q '^screen host ' "$first" && ! grep -q '^box ' "$first" \
  || { cat "$first"; fail "a first start with nothing configured does not reach the host screen without a box"; }
ok "first start, nothing configured: \"Mulai\" reaches the setup and host screens with no message box"

# The registry as its unit starts it; user nobody stands in for the unit's dynamic user.
registry=$work/registry
mkdir -p "$registry"
options="--passive-ports 60000-60009"
read -ra exec_start <<< "$(sed -n 's/^ExecStart=//p' "$unit" \
  | sed "s|\${STATE_DIRECTORY}|$registry|; s|\$DORVALA_REGISTRY_OPTIONS|$options|")"
nsenter "$(on "$ns_server")" "${player[@]}" "${exec_start[@]}" > "$work/registry.log" 2>&1 &
registry_pid=$!
wait_until 50 is_listening "$ns_server" 2121 dorvala-registr \
  || { cat "$work/registry.log"; fail "dorvala-registry does not listen on 2121"; }
ok "dorvala-registry listens on 0.0.0.0:2121 on the server: ${exec_start[*]}"

ftp_url=ftp://dorvala@198.18.0.1:2121/
start_host() { # log
  nsenter "$(on "$ns_player")" "${player[@]}" QT_QPA_PLATFORM=offscreen \
    DORVALA_FTP_URL=$ftp_url dorvala --host --name Budi > "$1" 2>&1 &
  host_pid=$!
  wait_until 150 is_listening "$ns_player" 1009 dorvala \
    || { cat "$1"; fail "dorvala --host does not listen on 1009"; }
}
stop_host() { # log
  kill -TERM "$host_pid"
  local status=0
  wait "$host_pid" || status=$?
  host_pid=""
  [ "$status" -eq 0 ] || { cat "$1"; fail "the host ended with status $status on SIGTERM"; }
}
# The registry's listing as another machine sees it through a PASV data connection (the
# game itself asks for EPSV, whose reply has no address): "<pasv address> <port> <names>".
listing() {
  nsenter "$(on "$ns_player")" "${player[@]}" /usr/bin/python3 - <<'EOF'
import ftplib
ftp = ftplib.FTP()
ftp.trust_server_pasv_ipv4_address = True  # follow the reply's address, as a client would
ftp.connect("198.18.0.1", 2121, timeout=10)
ftp.login("dorvala", "418526")
address, port = ftplib.parse227(ftp.sendcmd("PASV"))
try:
    names = ftp.nlst()
except ftplib.error_perm:
    names = []
print(address, port, *names)
ftp.quit()
EOF
}
lists_entry() { [ "$(listing | cut -d' ' -f3-)" = "$1" ]; }

# The registry already lists the player's machine (an entry left by a host that was killed),
# so the host's own lobby lists its own address and probes it: its responder must still
# answer afterwards.
chown nobody:nogroup "$registry"
printf '{\\rtf1 198.18.0.2}' > "$registry/198.18.0.2"
chown nobody:nogroup "$registry/198.18.0.2"
start_host "$work/host.log"
# (/proc/PID itself belongs to root: a process with a file capability is not dumpable.)
[ "$(awk '/^Uid:/ {print $2}' /proc/"$host_pid"/status)" = "$(id -u nobody)" ] \
  || fail "the host does not run as nobody"
ok "dorvala --host --name Budi, as nobody, listens on 1009: $(ip netns exec "$ns_player" ss -ltnpH 'sport = :1009')"
wait_until 50 is_listening "$ns_player" 79 dorvala \
  || { cat "$work/host.log"; fail "the host does not listen on 79"; }
sleep 2  # the lobby's listing and its probes, its own address among them
reply=$(ip netns exec "$ns_player" timeout 5 bash -c \
  'exec 3<>/dev/tcp/127.0.0.1/79 && printf ping >&3 && head -c 4 <&3' || true)
[ "$reply" = pong ] || { cat "$work/host.log"; fail "\"ping\" to port 79 got \"$reply\""; }
ok "after its lobby listed and probed its own address, \"ping\" from 127.0.0.1 to port 79 is answered \"pong\""
wait_until 100 lists_entry 198.18.0.2 \
  || { cat "$work/host.log"; fail "the registry does not list the host: $(listing)"; }
read -r pasv_address pasv_port _ <<< "$(listing)"
[ "$pasv_address" = 198.18.0.1 ] && [ "$pasv_port" -ge 60000 ] && [ "$pasv_port" -le 60009 ] \
  || fail "PASV points at $pasv_address:$pasv_port, not 198.18.0.1:60000-60009"
ok "the registry lists the host's entry 198.18.0.2, over PASV to $pasv_address:$pasv_port"
stop_host "$work/host.log"
ok "SIGTERM ends the host with status 0"
wait_until 50 lists_entry "" || fail "the entry stays after the host ended: $(listing)"
ok "the host's exit withdraws its entry"

# ---------------------------------------------------------------- 3. purge
kill "$registry_pid" 2>/dev/null || true
wait "$registry_pid" 2>/dev/null || true
registry_pid=""
apt purge dorvala > "$work/purge.log" 2>&1 || { cat "$work/purge.log"; fail "apt-get purge"; }
snapshot > "$work/after"
added=$(comm -13 "$work/before" "$work/after")
removed=$(comm -23 "$work/before" "$work/after")
# On a machine that others use at the same time, packages they install are theirs.
strays=""
others=0
while IFS= read -r path; do
  [ -n "$path" ] || continue
  if dpkg-query -S "$path" > /dev/null 2>&1; then
    others=$((others + 1))
  else
    strays+="$path"$'\n'
  fi
done <<< "$added"
[ "$others" -eq 0 ] || echo "note: $others new paths belong to packages installed meanwhile"
[ -z "$strays" ] || fail "left after purge: $strays"
[ -z "$removed" ] || fail "gone after purge that was there before: $removed"
ok "apt-get purge dorvala leaves /usr, /etc and /var as they were"
echo "package check passed: $passed checks"
