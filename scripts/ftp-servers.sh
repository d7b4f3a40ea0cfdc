#!/usr/bin/env bash
# The registry against real FTP servers: Debian's vsftpd, ProFTPD and Pure-FTPd (they exclude
# one another, so each is installed, run and purged in turn), then pyftpdlib
# (scripts/registry.py). Each runs on 127.0.0.1 with the registry's account (dorvala,
# password 418526; a local account for vsftpd and ProFTPD, a pure-pw account for Pure-FTPd),
# and scripts/ftp_interop.py drives the real program against it: publish, list, withdraw at
# exit. One line per server with its result and timings. Exit status 1 when any failed.
#
#   scripts/ftp-servers.sh                        build, then every server
#   scripts/ftp-servers.sh pure-ftpd pyftpdlib    some servers only
#   FTP_NO_BUILD=1 scripts/ftp-servers.sh         use the program already built
#
# Run it as root (apt-get, a local account). Servers that were installed before are left
# installed; the ones it installed are purged again.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${DORVALA_BUILD_DIR:-build}"
[ "$(id -u)" -eq 0 ] || { echo "run as root" >&2; exit 1; }

servers=("$@")
[ ${#servers[@]} -gt 0 ] || servers=(vsftpd proftpd pure-ftpd pyftpdlib)

if [ -z "${FTP_NO_BUILD:-}" ]; then
  DORVALA_BUILD_DIR="$build" scripts/build-program.sh
fi
program="$(realpath "$build/bin/dorvala")"

work="$(mktemp -d /tmp/dorvala-ftp.XXXXXX)"
chmod 755 "$work"
home="$work/home"
server_pid=""
installed=""
made_policy=""
made_account=""

cleanup() {
  [ -n "$server_pid" ] && kill "$server_pid" 2>/dev/null && wait "$server_pid" 2>/dev/null
  server_pid=""
  purge
  [ -n "$made_account" ] && userdel dorvala 2>/dev/null
  made_account=""
  [ -n "$made_policy" ] && rm -f /usr/sbin/policy-rc.d
  made_policy=""
  rm -rf "$work"
}
trap cleanup EXIT

port="$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')"

# The account the servers log in: a home folder that holds the registry's entries.
account() {
  if ! id dorvala > /dev/null 2>&1; then
    useradd --no-create-home --home-dir "$home" --shell /bin/sh --user-group dorvala
    made_account=1
  elif [ "$(getent passwd dorvala | cut -d: -f6)" != "$home" ]; then
    echo "an account dorvala exists already; it is not this script's to change" >&2
    exit 1
  fi
  echo "dorvala:418526" | chpasswd
  mkdir -p "$home"
  chown dorvala:dorvala "$home"
}

installed_packages() {
  dpkg-query -W -f='${Package} ${Status}\n' | awk '$NF == "installed" { print $1 }' | sort
}

# Exactly what the install brought (the server and the packages it pulled in), nothing else
# of the machine's.
purge() {
  [ -n "$installed" ] || return 0
  # shellcheck disable=SC2086
  apt-get -o DPkg::Lock::Timeout=900 purge -y -qq $installed > /dev/null 2>&1 || true
  installed=""
}

install_server() {
  local package=$1
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" && return
  installed_packages > "$work/before"
  # Installing must not start the server as a service: it runs here on our terms only.
  if [ ! -e /usr/sbin/policy-rc.d ]; then
    printf '#!/bin/sh\nexit 101\n' > /usr/sbin/policy-rc.d
    chmod 755 /usr/sbin/policy-rc.d
    made_policy=1
  fi
  # The package lists may be missing on a fresh machine.
  apt-cache show "$package" > /dev/null 2>&1 || apt-get -o DPkg::Lock::Timeout=900 update -qq
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 install -y -qq \
    --no-install-recommends "$package" > "$work/apt.log" 2>&1 \
    || { tail -20 "$work/apt.log"; return 1; }
  installed="$(installed_packages | comm -13 "$work/before" - | tr '\n' ' ')"
  # A service that started anyway (no policy file honoured) would hold port 21 and its pid.
  service "${package%-basic}" stop > /dev/null 2>&1 || true
}

start_vsftpd() {
  mkdir -p /var/run/vsftpd/empty
  cat > "$work/vsftpd.conf" <<EOF
listen=YES
listen_ipv6=NO
listen_address=127.0.0.1
listen_port=$port
background=NO
anonymous_enable=NO
local_enable=YES
write_enable=YES
local_umask=022
pam_service_name=vsftpd
secure_chroot_dir=/var/run/vsftpd/empty
seccomp_sandbox=NO
pasv_enable=YES
pasv_address=127.0.0.1
xferlog_enable=NO
EOF
  vsftpd "$work/vsftpd.conf" > "$work/server.log" 2>&1 &
  server_pid=$!
}

start_proftpd() {
  cat > "$work/proftpd.conf" <<EOF
ServerName "Dorvala registry"
ServerType standalone
DefaultServer on
Port $port
DefaultAddress 127.0.0.1
SocketBindTight on
UseIPv6 off
User nobody
Group nogroup
Umask 022
AllowOverwrite on
RequireValidShell off
UseReverseDNS off
WtmpLog off
PidFile $work/proftpd.pid
ScoreboardFile $work/proftpd.scoreboard
TransferLog none
SystemLog $work/proftpd.system.log
EOF
  proftpd --nodaemon --config "$work/proftpd.conf" > "$work/server.log" 2>&1 &
  server_pid=$!
}

start_pure_ftpd() {
  # A virtual account of Pure-FTPd's own, stored by pure-pw, that works as the local user.
  rm -f "$work/pureftpd.passwd" "$work/pureftpd.pdb"
  printf '418526\n418526\n' | pure-pw useradd dorvala -u dorvala -g dorvala -d "$home" \
    -f "$work/pureftpd.passwd" > /dev/null
  pure-pw mkdb "$work/pureftpd.pdb" -f "$work/pureftpd.passwd"
  pure-ftpd --bind 127.0.0.1,"$port" --login puredb:"$work/pureftpd.pdb" --noanonymous \
    --dontresolve > "$work/server.log" 2>&1 &
  server_pid=$!
}

start_pyftpdlib() {
  /usr/bin/python3 scripts/registry.py --host 127.0.0.1 --port "$port" --root "$home" \
    > "$work/server.log" 2>&1 &
  server_pid=$!
}

version_of() {
  case $1 in
    pyftpdlib) dpkg-query -W -f='${Version}' python3-pyftpdlib ;;
    *) dpkg-query -W -f='${Version}' "$1" ;;
  esac
}

status=0
for server in "${servers[@]}"; do
  case $server in
    vsftpd) package=vsftpd ;;
    proftpd) package=proftpd-basic ;;
    pure-ftpd) package=pure-ftpd ;;
    pyftpdlib) package="" ;;
    *) echo "unknown server: $server" >&2; exit 2 ;;
  esac
  began=$SECONDS
  if [ -n "$package" ] && ! install_server "$package"; then
    echo "$server: FAILED to install"
    status=1
    continue
  fi
  account
  "start_${server//-/_}"
  line=""
  if /usr/bin/python3 - "$port" <<'EOF'
import socket, sys, time
deadline = time.monotonic() + 20
while time.monotonic() < deadline:
    try:
        socket.create_connection(("127.0.0.1", int(sys.argv[1])), timeout=1).close()
        sys.exit(0)
    except OSError:
        time.sleep(0.1)
sys.exit(1)
EOF
  then
    line="$(/usr/bin/python3 scripts/ftp_interop.py --program "$program" \
      --url "ftp://dorvala@127.0.0.1:$port/" --root "$home" \
      --server "$server $(version_of "${package:-pyftpdlib}")")" || status=1
  else
    line="$server: FAILED, the server did not listen: $(tail -3 "$work/server.log" | tr '\n' ' ')"
    status=1
  fi
  kill "$server_pid" 2>/dev/null && wait "$server_pid" 2>/dev/null || true
  server_pid=""
  rm -rf "$home"
  purge
  echo "$line ($((SECONDS - began)) s in all)"
done
exit $status
