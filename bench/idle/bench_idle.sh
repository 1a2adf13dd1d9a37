#!/usr/bin/env bash
# bench_idle: what the connected panel costs while nothing changes.
# The real zentor, /SIM, under an X server of its own (Xvfb), in both looks
# (large, and compact with /C) and in both service modes (the service process
# on a private bus, and the stand in process). For each case, after the panel
# has shown its connected caption and settled:
# - CPU of the panel over 10 s, in per cent of one core (and of the service
#   process in bus mode, and of the X server);
# - X requests the panel sends over 10 s, counted by running it through the
#   xtrace proxy (a run of its own, so that the proxy's cost stays out of the
#   CPU figure).
# The same with every device panel open (idle_panels: the real window and
# panels, each opened as its twin button opens it).
# Baseline of the same run: xlogo, an X client that draws once and waits.
# Target: under 1 % of a core and no X requests while nothing changes.
#
# usage: bench_idle [ZENTOR_EXE] [SERVICE_EXE] [BUS_CONF] [PANELS_EXE]   (defaults: this build)
# ZENTOR_BENCH_IDLE_SECONDS changes the 10 s window, ZENTOR_BENCH_IDLE_MODES
# the service modes measured ("bus inprocess").
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exe=${1:-@ZENTOR_EXE@}
service=${2:-@ZENTOR_SERVICE_EXE@}
busconf=${3:-@ZENTOR_BUS_CONF@}
panels_exe=${4:-@ZENTOR_PANELS_EXE@}
descriptions=@ZENTOR_DESCRIPTIONS@
window=${ZENTOR_BENCH_IDLE_SECONDS:-10}
# Seconds between the connected caption and the window: the fiber lamp's
# warm-up (3 s from its connection, which comes after the caption) is a change
# the panel draws, not rest.
settle=${ZENTOR_BENCH_IDLE_SETTLE:-8}
hz=$(getconf CLK_TCK)
# The panel draws on the X server of each case, whatever the caller set.
export QT_QPA_PLATFORM=xcb

for tool in Xvfb xtrace xlogo dbus-daemon; do
  command -v "$tool" >/dev/null || { echo "bench_idle: $tool is missing (scripts/deps.sh installs it)" >&2; exit 1; }
done

work=$(mktemp -d)
pids=()
cleanup() {
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done
  wait 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

# Ends an xtrace run: the traced program first (xtrace's own child), then xtrace.
stop_traced() {
  local child
  for child in $(pgrep -P "$1"); do
    kill "$child" 2>/dev/null
    for _ in $(seq 1 50); do kill -0 "$child" 2>/dev/null || break; sleep 0.1; done
  done
  kill "$1" 2>/dev/null
  wait "$1" 2>/dev/null
}

ticks() { awk '{print $14 + $15}' "/proc/$1/stat" 2>/dev/null || echo 0; }
percent() { awk -v t="$1" -v hz="$hz" -v s="$window" 'BEGIN { printf "%.2f", 100 * t / hz / s }'; }

start_x() { # -> sets xpid, xdisplay
  local f=$work/display.$RANDOM
  : >"$f"
  Xvfb -displayfd 9 -screen 0 1600x1200x24 -nolisten tcp 9>"$f" >/dev/null 2>&1 &
  xpid=$!
  pids+=("$xpid")
  for _ in $(seq 1 100); do [ -s "$f" ] && break; sleep 0.05; done
  xdisplay=:$(head -n 1 "$f")
}

start_bus() { # -> exports DBUS_SESSION_BUS_ADDRESS, sets buspid
  local out
  out=$(dbus-daemon --config-file="$busconf" --fork --print-address=1 --print-pid=1)
  DBUS_SESSION_BUS_ADDRESS=$(echo "$out" | sed -n 1p)
  buspid=$(echo "$out" | sed -n 2p)
  export DBUS_SESSION_BUS_ADDRESS
  pids+=("$buspid")
}

fresh_home() { # -> sets home and exports the settings folders below it
  home=$work/home.$RANDOM
  mkdir -p "$home/data" "$home/config" "$home/run" "$home/home"
  chmod 700 "$home/run"
  export XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config XDG_RUNTIME_DIR=$home/run HOME=$home/home
}

wait_caption() { # file pid [pattern]
  for _ in $(seq 1 300); do
    grep -q "${3:-caption: Zentor  \[ }" "$1" 2>/dev/null && return 0
    kill -0 "$2" 2>/dev/null || return 1
    sleep 0.1
  done
  return 1
}

# run_case MODE LOOK [panels]: one measured window of CPU, one of X requests.
run_case() {
  local mode=$1 look=$2 args=(/SIM) home log pid spid="" exe=$exe ready='caption: Zentor  \[ '
  [ "$look" = compact ] && args+=(/C)
  if [ "${3:-}" = panels ]; then exe=$panels_exe ready='panels open:'; look="$look+panels"; fi
  fresh_home
  start_x
  unset ZENTOR_SERVICE DBUS_SESSION_BUS_ADDRESS
  if [ "$mode" = inprocess ]; then
    export ZENTOR_SERVICE=inprocess ZENTOR_STAND_DESCRIPTIONS=$descriptions
  else
    start_bus
    # The service from this build, started by hand so that its CPU can be read.
    "$service" --descriptions-dir "$descriptions" >"$home/service.log" 2>&1 &
    spid=$!
    pids+=("$spid")
    sleep 0.5
  fi

  # CPU, without any proxy in between.
  log=$home/zentor.stderr
  DISPLAY=$xdisplay ZENTOR_PRINT_CAPTION=1 "$exe" "${args[@]}" 2>"$log" &
  pid=$!
  pids+=("$pid")
  if ! wait_caption "$log" "$pid" "$ready"; then
    echo "$mode $look: no connected caption: $(tail -n 3 "$log")"
    return
  fi
  sleep "$settle"
  local a0 s0 x0 a1 s1 x1
  a0=$(ticks "$pid"); x0=$(ticks "$xpid"); s0=0; [ -n "$spid" ] && s0=$(ticks "$spid")
  sleep "$window"
  a1=$(ticks "$pid"); x1=$(ticks "$xpid"); s1=0; [ -n "$spid" ] && s1=$(ticks "$spid")
  kill "$pid"; wait "$pid" 2>/dev/null

  # X requests, through the xtrace proxy.
  local trace=$home/xtrace.txt fake=$((${xdisplay#:} + 100)) tpid r0 r1
  : >"$log"
  DISPLAY=$xdisplay ZENTOR_PRINT_CAPTION=1 xtrace -n -d "$xdisplay" -D ":$fake" -o "$trace" -- \
    "$exe" "${args[@]}" 2>"$log" &
  tpid=$!
  pids+=("$tpid")
  local requests="n/a"
  if wait_caption "$log" "$tpid" "$ready"; then
    sleep "$settle"
    r0=$(grep -c ':<:' "$trace")
    sleep "$window"
    r1=$(grep -c ':<:' "$trace")
    requests=$((r1 - r0))
  fi
  stop_traced "$tpid"

  printf '%-10s %-15s panel CPU %6s %%  service CPU %6s %%  X server CPU %6s %%  X requests %s in %s s\n' \
    "$mode" "$look" "$(percent $((a1 - a0)))" "$( [ -n "$spid" ] && percent $((s1 - s0)) || echo '-')" \
    "$(percent $((x1 - x0)))" "$requests" "$window"
  [ -n "$spid" ] && kill "$spid" 2>/dev/null
  [ -n "${buspid:-}" ] && [ "$mode" = bus ] && kill "$buspid" 2>/dev/null
  kill "$xpid" 2>/dev/null
  wait 2>/dev/null
}

baseline() {
  start_x
  DISPLAY=$xdisplay xlogo 2>/dev/null &
  local pid=$! a0 a1 trace=$work/xlogo.trace fake=$((${xdisplay#:} + 100)) r0 r1 tpid
  pids+=("$pid")
  sleep 2
  a0=$(ticks "$pid"); sleep "$window"; a1=$(ticks "$pid")
  kill "$pid"
  xtrace -n -d "$xdisplay" -D ":$fake" -o "$trace" -- xlogo 2>/dev/null &
  tpid=$!
  pids+=("$tpid")
  sleep 2
  r0=$(grep -c ':<:' "$trace"); sleep "$window"; r1=$(grep -c ':<:' "$trace")
  stop_traced "$tpid"
  printf '%-10s %-15s panel CPU %6s %%  X requests %s in %s s\n' baseline xlogo "$(percent $((a1 - a0)))" \
    "$((r1 - r0))" "$window"
  kill "$xpid" 2>/dev/null
  wait 2>/dev/null
}

echo "idle panel, ${window} s windows, $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg)"
baseline
for mode in ${ZENTOR_BENCH_IDLE_MODES:-bus inprocess}; do
  for look in large compact; do
    run_case "$mode" "$look"
  done
  run_case "$mode" large panels
done
