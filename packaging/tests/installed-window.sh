#!/bin/sh
# installed-window.sh BUILD
# The installed program works: install into a prefix with spaces in its path,
# start a private session bus that knows only that prefix's activation files,
# run the installed panel under Xvfb against the installed service, which the
# bus starts on demand, wait for the connected caption, close the window with
# SIGTERM (an orderly close) and check what the first run and the unload wrote.
# Runs under an X server of its own (cmake/run-under-xvfb.sh).
. "$(dirname "$0")/lib.sh"
build=$1
prefix="$scratch/installed prefix"
install_into "$build" "$prefix"

conf="$ZENTOR_TEST_HOME/bus.conf"
cat >"$conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <servicedir>$prefix/share/dbus-1/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF

# Nothing of the build tree on the way: the panel is started by the full path
# the menu uses, from a folder of its own, with the installed bin folder on
# PATH only.
cd "$ZENTOR_TEST_HOME" || fail "no test home"
# Started as the menu starts it: the desktop entry's Exec line.
launch=$(sed -n 's/^Exec=//p' "$prefix/share/applications/org.zentor.Zentor.desktop")
[ -n "$launch" ] || fail "the desktop entry has no Exec line"
PATH="$prefix/bin:/usr/bin:/bin" dbus-run-session --config-file="$conf" -- \
  "$here/run-window.sh" "$launch" || exit 1

cam="$XDG_DATA_HOME/Korvu/Shared/Data/Zentor/Camera.ini"
cmp -s "$cam" "$prefix/share/zentor/Camera.ini" || fail "the first run did not copy the installed Camera.ini"
[ -f "$XDG_DATA_HOME/Korvu/MavrelTools/Zentor.ini" ] || fail "no Zentor.ini after the orderly close"

# An installation that lost its delivered files (Camera.ini, the stand
# descriptions) still opens the simulated microscope on a first run; the
# camera names take their defaults.
rm -rf "$prefix/share/zentor" "$XDG_DATA_HOME/Korvu"
PATH="$prefix/bin:/usr/bin:/bin" dbus-run-session --config-file="$conf" -- \
  "$here/run-window.sh" "$launch" || fail "the panel does not start without its delivered files"
[ ! -e "$cam" ] || fail "a Camera.ini appeared from nowhere"
echo "PASS"
