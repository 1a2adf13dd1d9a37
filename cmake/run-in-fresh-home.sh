#!/bin/sh
# run-in-fresh-home.sh HOME_DIR COMMAND [ARGS...]
# Gives a test an empty home of its own and runs it there.
home=$1; shift
rm -rf "$home"
mkdir -p "$home/data" "$home/config" "$home/state" "$home/run" "$home/home"
chmod 700 "$home/run"
export XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" XDG_STATE_HOME="$home/state" \
       XDG_RUNTIME_DIR="$home/run" HOME="$home/home" ZENTOR_TEST_HOME="$home"
cd "$home" || exit 1
exec "$@"
