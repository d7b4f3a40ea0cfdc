#!/usr/bin/env bash
# Prepares a fresh Wine prefix for the Windows program and its tests:
#   scripts/windows/wine-prefix.sh PREFIX PROGRAM_FOLDER
# wineboot; Qt's offscreen platform in the prefix's own environment (Wine does not pass QT_*
# variables on from Linux); PROGRAM_FOLDER as drive T: (programs run from a drive's root);
# and one start of T:\dorvala.exe, which makes Wine build its font cache (about two minutes
# the first time, longer than a test waits for a window).
set -euo pipefail
source "$(dirname "$0")/common.sh"
prefix=$1 folder=$2
wine=$(wine64_command)
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
mkdir -p "$prefix"
"$wine" wineboot -i > "$prefix/../wineboot.log" 2>&1
"$(dirname "$wine")/wineserver" -w
"$wine" reg add 'HKCU\Environment' /v QT_QPA_PLATFORM /d offscreen /f > /dev/null 2>&1
ln -sfn "$folder" "$prefix/dosdevices/t:"
drive=$(mktemp -d)
(cd "$drive" && echo quit | DORVALA_DRIVE_C="$drive" DORVALA_FTP_URL=ftp://dorvala@127.0.0.1:1/ \
  timeout 300 "$wine" 'T:\dorvala.exe' --control > /dev/null 2>&1) || true
rm -rf "$drive"
