#!/usr/bin/env bash
# with-session-bus.sh COMMAND [ARGS...]
# Runs COMMAND where it can reach the microscope service on a session bus.
# - No session bus (DBUS_SESSION_BUS_ADDRESS unset): starts one for the time
#   of the command, whose service folder holds the build's .service files, so
#   that the bus starts the service on the first call.
# - A session bus is there: makes the service activatable on it (links the
#   build's .service files into the user's D-Bus service folder and asks the
#   bus to reload); if the bus still cannot start it and nobody owns the name,
#   starts the service directly.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${ZENTOR_BUILD_DIR:-$root/build}
services=$build/share/dbus-1/services
conf=$build/share/dbus-1/zentor-session.conf
service_exe=$build/stand/service/zentor-service
name=org.zentor.Microscope

if [ $# -eq 0 ]; then
  echo "usage: $0 COMMAND [ARGS...]" >&2
  exit 2
fi
if [ ! -f "$conf" ] || [ ! -x "$service_exe" ]; then
  echo "$0: the microscope service is not built in $build (run scripts/build.sh)" >&2
  exit 1
fi

if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
  exec dbus-run-session --config-file="$conf" -- "$@"
fi

bus_call() {
  dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    "org.freedesktop.DBus.$1" "${@:2}" 2>/dev/null
}

owned() { bus_call NameHasOwner "string:$name" | grep -q true; }
activatable() { bus_call ListActivatableNames | grep -qw "$name"; }

if ! owned && ! activatable; then
  user_services=${XDG_DATA_HOME:-$HOME/.local/share}/dbus-1/services
  mkdir -p "$user_services"
  for f in "$services"/org.zentor.*.service; do
    ln -sf "$f" "$user_services/$(basename "$f")"
  done
  bus_call ReloadConfig >/dev/null || true
  if ! activatable; then
    echo "$0: the session bus does not start the service; starting it directly" >&2
    setsid "$service_exe" --descriptions-dir "$root/stand/descriptions" \
      >>"${XDG_RUNTIME_DIR:-/tmp}/zentor-service.log" 2>&1 < /dev/null &
    for _ in $(seq 1 100); do
      owned && break
      sleep 0.1
    done
    owned || { echo "$0: the microscope service did not start" >&2; exit 1; }
  fi
fi
exec "$@"
