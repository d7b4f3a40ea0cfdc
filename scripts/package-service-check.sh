#!/usr/bin/env bash
# Proves the registry's systemd unit under a running systemd: a fresh Debian 12 with systemd
# (debootstrap), the package installed, the system booted in a container (systemd-nspawn,
# no network) where a boot-time unit plays the administrator: the unit is installed but not
# enabled; "systemctl enable --now" starts it as a dynamic user on port 2121 with its entries
# in /var/lib/dorvala-registry, which outlive a restart; "apt-get purge dorvala" stops it and
# leaves neither the entries nor the enable link. As root:
#
#   scripts/package-service-check.sh [DEB]     (DEB defaults to dist/dorvala_*.deb)
#
# Needs Debian's mirror and a host whose cgroups let systemd-nspawn boot a container; it is
# a manual check, not a CI stage.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/package-common.sh
deb=$(package_deb "${1:-}")
need_root "debootstrap, systemd-nspawn"
need=()
command -v systemd-nspawn > /dev/null || need+=(systemd-container)
if [ ${#need[@]} -gt 0 ]; then
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq update
  DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=900 -y -qq install \
    --no-install-recommends "${need[@]}"
fi

start=$SECONDS
fresh_bookworm service --include=systemd,systemd-sysv,dbus,iproute2
cp "$deb" "$root/check/dorvala.deb"
unshare --mount --propagation private /bin/bash -euc '
  root=$1
  mount --bind "$root" "$root"
  mount -t proc proc "$root/proc"
  mount -t sysfs sysfs "$root/sys"
  mount --rbind /dev "$root/dev"
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
    DEBIAN_FRONTEND=noninteractive apt-get -qq -y install /check/dorvala.deb > /dev/null
' sh "$root"

cat > "$root/check/admin.sh" <<'EOF'
#!/bin/bash
# The administrator, at boot of the container. Writes ok/FAIL lines to /check/result.
exec > /check/result 2>&1
check() { if eval "$2"; then echo "ok   $1"; else echo "FAIL $1"; fi; }
registry() { # [put NAME]: the names listed after an optional upload
  /usr/bin/python3 - "$@" <<'PY'
import ftplib, io, sys
f = ftplib.FTP()
f.connect("127.0.0.1", 2121, timeout=5)
f.login("dorvala", "418526")
if sys.argv[1:2] == ["put"]:
    f.storbinary("STOR " + sys.argv[2], io.BytesIO(b"{\\rtf1 x}"))
print(" ".join(f.nlst()))
f.quit()
PY
}
unit=dorvala-registry.service
check "installed, not enabled" '[ "$(systemctl is-enabled $unit)" = disabled ] && ! systemctl -q is-active $unit'
systemctl enable --now $unit 2> /dev/null
for _ in $(seq 50); do ss -ltnH "sport = :2121" | grep -q . && break; sleep 0.1; done
check "enable --now: active, on 0.0.0.0:2121" 'systemctl -q is-active $unit && ss -ltnH "sport = :2121" | grep -q "0.0.0.0:2121"'
uid=$(awk '/^Uid:/ {print $2}' /proc/"$(systemctl show -p MainPID --value $unit)"/status)
# systemd's range for dynamic users; such a user is in no file of /etc.
check "runs as a dynamic user ($uid), not root" '[ "$uid" -ge 61184 ] && [ "$uid" -le 65519 ] && ! grep -q ":$uid:" /etc/passwd'
check "an entry is stored in /var/lib/dorvala-registry" '[ "$(registry put 198.18.0.9)" = 198.18.0.9 ] && [ -f /var/lib/dorvala-registry/198.18.0.9 ]'
systemctl restart $unit
for _ in $(seq 50); do ss -ltnH "sport = :2121" | grep -q . && break; sleep 0.1; done
check "the entry outlives a restart" '[ "$(registry)" = 198.18.0.9 ]'
apt-get purge -y -qq dorvala > /dev/null 2>&1
check "purge stops the service" '! systemctl -q is-active $unit'
check "purge leaves no entries, state or enable link" '! ls -d /var/lib/dorvala-registry /var/lib/private/dorvala-registry /etc/systemd/system/*/dorvala-registry.service /lib/systemd/system/$unit 2> /dev/null'
systemctl poweroff
EOF
chmod +x "$root/check/admin.sh"
cat > "$root/etc/systemd/system/admin-check.service" <<'EOF'
[Unit]
Description=the registry service as an administrator uses it
After=multi-user.target

[Service]
Type=oneshot
ExecStart=/check/admin.sh
EOF
ln -s /etc/systemd/system/admin-check.service \
  "$root/etc/systemd/system/multi-user.target.wants/admin-check.service"
timeout 300 systemd-nspawn -q --keep-unit --register=no --private-network -D "$root" -b \
  > "$root/check/boot.log" 2>&1 || true
[ -s "$root/check/result" ] || { tail -30 "$root/check/boot.log"; echo "the container did not run the check" >&2; exit 1; }
cat "$root/check/result"
if grep -q '^FAIL' "$root/check/result"; then
  echo "service check FAILED after $((SECONDS - start)) s" >&2
  exit 1
fi
echo "service check passed in $((SECONDS - start)) s"
