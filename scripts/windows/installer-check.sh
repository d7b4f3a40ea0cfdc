#!/usr/bin/env bash
# Installs dist/dorvala-setup.exe silently under Wine (a fresh prefix, a standard user's
# rights: the installer asks for none), checks what it installed (every file of
# dist/windows/dorvala, the Start-menu entry, the uninstaller listed under HKCU), starts the
# installed program once, then uninstalls silently and checks that nothing it installed is
# left. Exit status 1 on any difference.
set -euo pipefail
source "$(dirname "$0")/common.sh"
apt_install wine64
wine=$(wine64_command)
wineserver="$(dirname "$wine")/wineserver"
setup="$dist/dorvala-setup.exe"
program="$dist/windows/dorvala"
[ -f "$setup" ] || { echo "$setup is missing: run scripts/windows/build.sh" >&2; exit 1; }

work=$(mktemp -d)
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
trap '"$wineserver" -k 2>/dev/null || true; rm -rf "$work"' EXIT
"$wine" wineboot -i > "$work/wineboot.log" 2>&1
"$wineserver" -w
failed=0
check() {
  if eval "$2"; then echo "  [ok] $1"; else echo "  [FAILED] $1"; failed=1; fi
}
user_dir=$(ls -d "$WINEPREFIX"/drive_c/users/*/AppData/Local | grep -v /Public/ | head -1)
installed="$user_dir/Programs/Dorvala"
start_menu=$(dirname "$(dirname "$user_dir")")/AppData/Roaming/Microsoft/Windows/Start\ Menu/Programs
key='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Dorvala'

"$wine" "$setup" /S
"$wineserver" -w
echo "installed into $installed"
missing=$(cd "$program" && find . -type f | while read -r f; do cmp -s "$f" "$installed/$f" || echo "$f"; done)
check "every file of the program, byte for byte ($(cd "$program" && find . -type f | wc -l) files)" '[ -z "$missing" ]'
check "the uninstaller" '[ -f "$installed/uninstall.exe" ]'
check "a Start-menu entry" '[ -f "$start_menu/Dorvala Online.lnk" ]'
check "listed for uninstalling under HKCU" '"$wine" reg query "$key" /v UninstallString > /dev/null 2>&1'
version=$("$wine" "$installed/dorvala.exe" --version 2>/dev/null | tr -d '\r')
check "the installed program starts ($version)" '[[ "$version" == "Dorvala Online "* ]]'

"$wine" "$installed/uninstall.exe" /S
"$wineserver" -w
# The uninstaller copies itself away to delete its own file: give it a moment.
for _ in $(seq 20); do [ -e "$installed" ] || break; sleep 0.5; done
check "uninstalled: the program folder is gone" '[ ! -e "$installed" ]'
check "uninstalled: the Start-menu entry is gone" '[ ! -e "$start_menu/Dorvala Online.lnk" ]'
check "uninstalled: no longer listed" '! "$wine" reg query "$key" > /dev/null 2>&1'
exit $failed
