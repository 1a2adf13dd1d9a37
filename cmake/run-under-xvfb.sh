#!/bin/sh
# run-under-xvfb.sh -s "SERVER ARGS" COMMAND [ARGS...]
# Runs COMMAND with an X server of its own. Xvfb chooses a free display
# itself and names it once it listens (-displayfd), so tests that start at
# the same moment never end up on one display. (`xvfb-run -a` picks the
# number before the server runs; two tests starting together can both be
# handed the same one, and one of them then finds no server it may use.)
# The server does not reset when its last client leaves: a short-lived
# client (a property read, a screenshot) that is alone for a moment would
# otherwise make the next program's connection fail while the server resets.
# The display is closed to every program without the cookie of this run.
set -u
server_args=
if [ "${1:-}" = -s ]; then
  server_args=$2
  shift 2
fi
if [ $# -eq 0 ]; then
  echo "usage: run-under-xvfb.sh -s \"SERVER ARGS\" COMMAND [ARGS...]" >&2
  exit 2
fi

dir=$(mktemp -d "${TMPDIR:-/tmp}/zentor-xvfb.XXXXXX") || exit 1
auth=$dir/Xauthority
cookie=$(mcookie)
xvfb=
cleanup() {
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null && wait "$xvfb" 2>/dev/null
  rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 143' TERM
trap 'exit 130' INT

# The server reads its cookies when it starts, whatever display they name;
# the entry for the display it takes is added once that is known, for the
# clients, which look a cookie up by display.
: >"$auth" || exit 1
xauth -q -f "$auth" add :0 MIT-MAGIC-COOKIE-1 "$cookie" || exit 1
mkfifo "$dir/display" || exit 1
# shellcheck disable=SC2086 # the server's arguments are words
Xvfb -displayfd 3 -noreset -nolisten tcp -auth "$auth" $server_args 3>"$dir/display" 2>"$dir/xvfb.log" &
xvfb=$!
read -r number <"$dir/display"
case "$number" in
  ''|*[!0-9]*)
    echo "run-under-xvfb.sh: Xvfb did not start:" >&2
    cat "$dir/xvfb.log" >&2
    xvfb=
    exit 1 ;;
esac
xauth -q -f "$auth" add ":$number" MIT-MAGIC-COOKIE-1 "$cookie" || exit 1

DISPLAY=:$number XAUTHORITY=$auth "$@"
