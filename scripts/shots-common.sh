# The start shared by the screenshot scripts, sourced with the screen size as $1 after the
# script's own arguments are saved: re-runs the calling script under Xvfb, then sets bin (the
# built program), out (docs/screenshots or the script's first argument), work (a folder
# removed at the end, with the programs still running) and the C: drive in it.
#   shots_start WIDTHxHEIGHT "$@"
shots_start() {
  local screen=$1
  shift
  cd "$(dirname "$0")/.."
  bin="$(realpath "${DORVALA_BUILD_DIR:-build}/bin/dorvala")"
  out="$(realpath -m "${1:-docs/screenshots}")"
  mkdir -p "$out"
  if [ -z "${SHOTS_INNER:-}" ]; then
    exec env SHOTS_INNER=1 xvfb-run -a -s "-screen 0 ${screen}x24" "$0" "$@"
  fi
  work=$(mktemp -d)
  trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
  mkdir -p "$work/c"
  export DORVALA_LOCAL_IP=127.0.0.1 DORVALA_DRIVE_C="$work/c"
}
