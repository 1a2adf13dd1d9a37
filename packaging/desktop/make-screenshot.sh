#!/bin/bash
# make-screenshot.sh [BUILD] [OUT]
# Makes the screenshot the AppStream file shows: the installed panel, connected
# to the simulated microscope through the installed service, which a private
# session bus starts on demand, on an X server of its own (Xvfb), in a fresh
# home (default window layout). The window alone is saved as OUT (default
# packaging/desktop/screenshots/main-panel.png). Needs a build (scripts/build.sh).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
out=${2:-$here/screenshots/main-panel.png}

tmp=$(mktemp -d "${TMPDIR:-/tmp}/zentor-screenshot.XXXXXX")
xvfb='' session=''
cleanup() {
  # The panel first (an orderly close): its bus session then ends, and the
  # service with the bus; the X server last.
  [ -s "$tmp/panel.pid" ] && kill "$(cat "$tmp/panel.pid")" 2>/dev/null
  [ -n "$session" ] && wait "$session" 2>/dev/null
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null && wait "$xvfb" 2>/dev/null
  rm -rf "$tmp"
}
trap cleanup EXIT
fail() { echo "make-screenshot: $*" >&2; exit 1; }

prefix="$tmp/prefix"
cmake --install "$build" --prefix "$prefix" >"$tmp/install.log" 2>&1 || fail "cmake --install failed: $(tail -n 5 "$tmp/install.log")"
sed -e "s|@ZENTOR_SERVICE_DIR@|$prefix/share/dbus-1/services|" -e "s|@ZENTOR_STANDARD_DIRS@||" \
  "$root/packaging/dbus/session-bus.conf.in" >"$tmp/bus.conf"

home="$tmp/home"
mkdir -p "$home/data" "$home/config" "$home/state" "$home/run"
chmod 700 "$home/run"
export HOME="$home" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" XDG_STATE_HOME="$home/state" \
       XDG_RUNTIME_DIR="$home/run" XDG_CONFIG_DIRS="$home/xdg"

# An X server of its own; it says which display it took.
exec 3>"$tmp/display"
Xvfb -displayfd 3 -noreset -screen 0 1280x1024x24 -nolisten tcp >"$tmp/xvfb.log" 2>&1 &
xvfb=$!
exec 3>&-
for _ in $(seq 1 100); do [ -s "$tmp/display" ] && break; sleep 0.1; done
[ -s "$tmp/display" ] || fail "Xvfb did not start: $(cat "$tmp/xvfb.log")"
export DISPLAY=":$(cat "$tmp/display")"
unset WAYLAND_DISPLAY
export QT_QPA_PLATFORM=xcb

# The panel, started as the menu starts it, on a bus that knows only the
# installed service.
panel=$(sed -n 's/^Exec=//p' "$prefix/share/applications/org.zentor.Zentor.desktop" | tr -d '"')
ZENTOR_PRINT_CAPTION=1 dbus-run-session --config-file="$tmp/bus.conf" -- \
  sh -c 'echo $$ >"$1"; exec "$2" /SIM' sh "$tmp/panel.pid" "$panel" 2>"$tmp/panel.log" </dev/null >/dev/null &
session=$!
for _ in $(seq 1 300); do
  grep -q 'caption: Zentor  \[ ' "$tmp/panel.log" && break
  sleep 0.1
done
grep -q 'caption: Zentor  \[ ' "$tmp/panel.log" || fail "the panel did not connect: $(tail -n 20 "$tmp/panel.log")"
# Let the lamp's warm-up and the first redraws settle.
sleep 2

window=$(xdotool search --onlyvisible --name '^Zentor' | head -n 1)
[ -n "$window" ] || fail "no Zentor window on $DISPLAY"
mkdir -p "$(dirname "$out")"
# No time stamp or name in the file: the same panel gives the same bytes.
import -window "$window" -strip -define png:exclude-chunks=date,time "$tmp/shot.png"
mv "$tmp/shot.png" "$out"
identify -format '%w %h\n' "$out" >&2
echo "$out"
