#!/usr/bin/env bash
# Screenshots of the host screen's router line, one per answer a home router can give, into
# docs/screenshots/ (or $1): the whole host screen when the ports are open
# (host_router_open.png), and its status line for every answer, one under the other
# (host_router_lines.png). The router is a small NAT-PMP answerer on loopback
# (DORVALA_ROUTER points the host at it); 198.19.0.0/16 counts as the internet. Runs under
# Xvfb, with no registry: the host opens from --host.
set -euo pipefail
source "$(dirname "$0")/shots-common.sh"
shots_start 700x560 "$@"
mkdir -p "$work/config"
export XDG_CONFIG_HOME="$work/config"
export DORVALA_PUBLIC_NETS=198.19.0.0/16 DORVALA_LAN_PORT=0
unset DORVALA_FTP_URL

# NAT-PMP (RFC 6886) on loopback: the external address asked, and mappings granted or refused.
#   router.py EXTERNAL REFUSE_BELOW   (REFUSE_BELOW 65536: every port refused; 0: none)
cat > "$work/router.py" <<'PY'
import socket, struct, sys
# An external address of "none": the router has none of its own (result 3, network failure).
none = sys.argv[1] == "none"
external, refuse_below = socket.inet_aton("0.0.0.0" if none else sys.argv[1]), int(sys.argv[2])
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.bind(("127.0.0.1", 0))
print("READY", s.getsockname()[1], flush=True)
while True:
    data, peer = s.recvfrom(64)
    if len(data) == 2 and data == b"\0\0":
        s.sendto(struct.pack(">BBHI", 0, 128, 3 if none else 0, 100) + external, peer)
    elif len(data) == 12 and data[0] == 0 and data[1] in (1, 2):
        internal, suggested, lifetime = struct.unpack(">HHI", data[4:12])
        result = 2 if internal < refuse_below and lifetime else 0
        s.sendto(struct.pack(">BBHIHHI", 0, 128 + data[1], result, 100, internal,
                             0 if result else internal, 0 if result else lifetime), peer)
PY

# name  external-address  refuse-below  (an empty address: no router answers at all)
shots=(
  "router_open 198.19.0.7 0"
  "router_high_ports 198.19.0.7 1024"
  "router_refused 198.19.0.7 65536"
  "router_cgnat 100.64.0.9 0"
  "router_double_nat 192.168.1.1 0"
  "router_no_public none 0"
  "router_none - 0"
)
lines=()
for shot in "${shots[@]}"; do
  read -r name external refuse <<< "$shot"
  if [ "$external" = - ]; then
    router=127.0.0.1:9   # nothing listens there
  else
    /usr/bin/python3 "$work/router.py" "$external" "$refuse" > "$work/router.out" &
    for _ in $(seq 50); do grep -q READY "$work/router.out" 2>/dev/null && break; sleep 0.1; done
    router=127.0.0.1:$(awk '/READY/ {print $2}' "$work/router.out")
  fi
  DORVALA_ROUTER=$router "$bin" --host --name Budi &
  pid=$!
  host=$(xdotool search --sync --name "Host IP" | head -1)
  xdotool windowmove "$host" 0 0
  sleep 4   # the answer, or its absence, is told within 3 s
  import -window "$host" "$work/$name.png"
  kill "$pid"; wait "$pid" 2>/dev/null || true
  kill $(jobs -p) 2>/dev/null || true
  wait 2>/dev/null || true
  lines+=("$work/$name.line.png")
  convert "$work/$name.png" -crop 640x32+0+448 +repage "$work/$name.line.png"
done
cp "$work/router_open.png" "$out/host_router_open.png"
convert "${lines[@]}" -append "$out/host_router_lines.png"
echo "$out/host_router_open.png $out/host_router_lines.png"
