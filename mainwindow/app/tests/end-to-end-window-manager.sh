#!/bin/sh
# end-to-end-window-manager.sh ZENTOR_EXE
# The real panel against the real service process under a real window manager
# (openbox, which frames the window with a title bar), run inside a private
# session bus and an X server like end-to-end-window.sh. Checks what only a
# framed window shows:
#  - the stored position is the frame's: the compact look, started from
#    Open=2 (and /C), keeps Top and Left over successive runs with the title bar
#    on the screen, and a stored place above the screen comes back onto it;
#  - switching the microscope from the Connection list leaves that section
#    drawn alone (no Observation Method section over it);
#  - SIGTERM after the service is gone closes the panel without waiting on a
#    box nobody sees.
exe=$1
home=${ZENTOR_TEST_HOME:-$PWD}
ini="$XDG_DATA_HOME/Korvu/MavrelTools/Zentor.ini"
pid=""
wm=""
fail() {
  echo "FAIL: $*" >&2
  [ -n "$pid" ] && kill -9 "$pid" 2>/dev/null
  [ -n "$wm" ] && kill "$wm" 2>/dev/null
  exit 1
}

openbox --sm-disable >"$home/openbox.log" 2>&1 &
wm=$!
i=0
until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; do
  i=$((i + 1)); [ $i -gt 100 ] && fail "the window manager did not start"
  sleep 0.1
done

# start_panel ARGS...: runs the panel, waits for its connected caption.
start_panel() {
  : >"$home/zentor.stderr"
  ZENTOR_PRINT_CAPTION=1 "$exe" "$@" 2>"$home/zentor.stderr" &
  pid=$!
  i=0
  until grep -q 'caption: Zentor  \[' "$home/zentor.stderr"; do
    kill -0 "$pid" 2>/dev/null || fail "zentor ended before it was connected: $(cat "$home/zentor.stderr")"
    i=$((i + 1)); [ $i -gt 300 ] && fail "no connected caption within 30 s"
    sleep 0.1
  done
  sleep 1.5   # the window manager frames and places it
  wid=$(xdotool search --pid "$pid" --name '^Zentor  \[' | head -n 1)
  [ -n "$wid" ] || fail "no window of the panel"
}

# stop_panel [SECONDS]: SIGTERM, and the panel must be gone in time with 0.
stop_panel() {
  kill -TERM "$pid"
  i=0
  while kill -0 "$pid" 2>/dev/null; do
    i=$((i + 1)); [ $i -gt $((${1:-10} * 10)) ] && fail "zentor still running ${1:-10} s after SIGTERM: $(cat "$home/zentor.stderr")"
    sleep 0.1
  done
  wait "$pid"
  rc=$?
  pid=""
  [ $rc -eq 0 ] || fail "zentor exit code $rc after SIGTERM"
}

stored() {  # stored KEY: the key of section Form_Position
  awk -F= -v key="$1" '{sub(/\r$/,"")} /^\[/{s=($0=="[Form_Position]")} s&&$1==key{print $2;exit}' "$ini"
}

# The top of the frame on the screen: the window's own top less the title bar.
frame_top() {
  y=$(xwininfo -id "$wid" | awk '/Absolute upper-left Y/{print $4}')
  t=$(xprop -id "$wid" _NET_FRAME_EXTENTS | awk -F', ' '{print $3}')
  echo $((y - ${t:-0}))
}

# ---- 1. the compact look keeps its place, run after run --------------------
mkdir -p "$(dirname "$ini")"
printf '[Form_Position]\r\nTop=1500\r\nLeft=1200\r\nOpen=2\r\n' >"$ini"
tops=""
for run in 1 2 3; do
  if [ $run -eq 1 ]; then start_panel /SIM /C; else start_panel /SIM; fi   # Open=2 stays
  ft=$(frame_top)
  [ "$ft" -ge 0 ] || fail "run $run: the title bar is above the screen (frame top $ft)"
  [ "$ft" -eq 100 ] || fail "run $run: the frame stands at $ft, not at the stored 1500 twips (100 px)"
  stop_panel
  [ "$(stored Open)" = "2" ] || fail "run $run: the start-up look Open=2 was not kept"
  tops="$tops $(stored Top),$(stored Left)"
done
echo "stored Top,Left over three runs:$tops"
[ "$tops" = " 1500,1200 1500,1200 1500,1200" ] || fail "the stored place crept:$tops"
import -window root "$home/zentor-compact-framed.png" 2>/dev/null

# ---- 2. a place stored above the screen comes back onto it ------------------
printf '[Form_Position]\r\nTop=-900\r\nLeft=-45\r\nOpen=2\r\n' >"$ini"
start_panel /SIM
ft=$(frame_top)
[ "$ft" -ge 0 ] || fail "a stored place above the screen leaves the title bar off it (frame top $ft)"
stop_panel
[ "$(stored Top)" -ge 0 ] || fail "the stored Top stays above the screen: $(stored Top)"
[ "$(stored Left)" -ge 0 ] || fail "the stored Left stays off the screen: $(stored Left)"

# ---- 3. switching the microscope from the Connection list -------------------
printf '[Form_Position]\r\nTop=0\r\nLeft=0\r\nOpen=1\r\n' >"$ini"
# A name on the command line opens the entry after it: "E-LM-K System".
start_panel "Q7s Camera Unknown Head"
grep -q 'caption: Zentor  \[ E-LM-K System \]' "$home/zentor.stderr" || fail "not the E-LM-K system: $(cat "$home/zentor.stderr")"
xdotool mousemove --window "$wid" 16 14 click 1        # the Connection entry
sleep 0.5
xdotool mousemove --window "$wid" 60 227 click 1       # the open entry of the list
sleep 0.3
xdotool key Down                                       # the next: Q7s Full System
i=0
until grep -q 'caption: Zentor  \[ Q7s Full System \]' "$home/zentor.stderr"; do
  i=$((i + 1)); [ $i -gt 100 ] && fail "the microscope was not switched: $(cat "$home/zentor.stderr")"
  sleep 0.1
done
sleep 1
import -window "$wid" "$home/zentor-switched.png" || fail "screenshot failed"
# The list stands where the Connection section put it, its face not covered:
# a strip right of the entries' texts holds only the list's face (#20243A) and
# its marked entry (#E6BE28).
face=$(convert "$home/zentor-switched.png" -crop 10x60+182+200 +repage -format '%c' histogram:info:- \
       | awk '/#20243A|#E6BE28/{n+=$1} END{print n+0}')
echo "list pixels in the strip: $face of 600"
[ "$face" -ge 580 ] || fail "the Connection section is covered after the switch ($face of 600 pixels)"

# ---- 4. SIGTERM after the service is gone -------------------------------------
svc=$(dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
      org.freedesktop.DBus.GetConnectionUnixProcessID string:org.zentor.Microscope | awk '/uint32/{print $2}')
[ -n "$svc" ] || fail "the service's process was not found"
kill -9 "$svc"
sleep 0.5
stop_panel 10
[ -f "$ini" ] && grep -q '^Top=' "$ini" || fail "the close after the service died wrote no settings"

kill "$wm" 2>/dev/null
echo "PASS"
