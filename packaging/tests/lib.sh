# Shared by the packaging tests (sourced): failing, installing into a prefix,
# and checking an installed tree.
fail() { echo "FAIL: $*" >&2; exit 1; }
here=$(cd "$(dirname "$0")" && pwd)

# scratch: a folder outside the source and build trees, removed at exit, so
# that no path of an installation can point back into them by accident.
scratch=$(mktemp -d "${TMPDIR:-/tmp}/zentor-packaging.XXXXXX") || fail "no temporary folder"
trap 'rm -rf "$scratch"' EXIT

# install_into BUILD PREFIX: cmake --install of the whole build into PREFIX.
install_into() {
  rm -rf "$2"
  cmake --install "$1" --prefix "$2" >"$ZENTOR_TEST_HOME/install.log" 2>&1 \
    || fail "cmake --install into '$2' failed: $(tail -n 5 "$ZENTOR_TEST_HOME/install.log")"
}

# user_unit_dir PREFIX: where the installation puts systemd user units for
# PREFIX: the distribution's folder under /usr, the XDG data folder elsewhere.
user_unit_dir() {
  if [ "$1" = /usr ]; then echo /usr/lib/systemd/user; else echo "$1/share/systemd/user"; fi
}

# check_units ROOT PREFIX: the bus activation files name the systemd user
# units, which run the same command line as the activation files' Exec=.
check_units() {
  units="$1$(user_unit_dir "$2")"
  for pair in org.zentor.Microscope:zentor-service org.zentor.Fiber:zentor-fiber; do
    name=${pair%%:*} unit=${pair#*:}
    activation="$1$2/share/dbus-1/services/$name.service"
    [ -s "$units/$unit.service" ] || fail "no systemd user unit $units/$unit.service"
    grep -qxF "SystemdService=$unit.service" "$activation" || fail "$name.service does not name the unit $unit.service"
    grep -qxF "BusName=$name" "$units/$unit.service" || fail "$unit.service does not wait for $name"
    exec_line=$(sed -n 's/^Exec=//p' "$activation")
    start_line=$(sed -n 's/^ExecStart=//p' "$units/$unit.service")
    [ "$exec_line" = "$start_line" ] \
      || fail "$unit.service starts '$start_line', the activation file '$exec_line'"
  done
}

# check_tree ROOT PREFIX VERSION: the files an installation must hold under
# ROOT (a DESTDIR-like root, or empty) whose paths name PREFIX.
check_tree() {
  root=$1 prefix=$2 version=$3
  while read -r f; do
    [ -s "$root$prefix/$f" ] || fail "installed tree lacks $prefix/$f"
  done <"$here/installed-files.txt"
  [ -x "$root$prefix/bin/zentor" ] || fail "zentor is not executable"
  [ -x "$root$prefix/bin/zentor-service" ] || fail "zentor-service is not executable"

  # The bus and the menu start what was installed, under the prefix's path.
  grep -qxF "Exec=\"$prefix/bin/zentor-service\" --descriptions-dir \"$prefix/share/zentor/descriptions\"" \
    "$root$prefix/share/dbus-1/services/org.zentor.Microscope.service" \
    || fail "the microscope activation file does not name the installed service: $(grep Exec "$root$prefix/share/dbus-1/services/org.zentor.Microscope.service")"
  grep -qxF "Exec=\"$prefix/bin/zentor-service\" --fiber-only" \
    "$root$prefix/share/dbus-1/services/org.zentor.Fiber.service" || fail "the fiber activation file does not name the installed service"
  grep -qxF "Exec=\"$prefix/bin/zentor\"" "$root$prefix/share/applications/org.zentor.Zentor.desktop" \
    || fail "the desktop entry does not start the installed panel"

  # Nothing points back into the source or the build tree.
  if grep -rlF "$ZENTOR_SOURCE_DIR" "$root$prefix/share" >/dev/null 2>&1; then
    fail "installed files name the source tree: $(grep -rlF "$ZENTOR_SOURCE_DIR" "$root$prefix/share")"
  fi

  desktop-file-validate "$root$prefix/share/applications/org.zentor.Zentor.desktop" \
    || fail "desktop-file-validate rejects the desktop entry"
  appstreamcli validate --no-net --explain "$root$prefix/share/metainfo/org.zentor.Zentor.metainfo.xml" \
    || fail "appstreamcli rejects the metainfo"
  grep -m 1 '<release ' "$root$prefix/share/metainfo/org.zentor.Zentor.metainfo.xml" | grep -qF "<release version=\"$version\"" \
    || fail "the metainfo's latest release is not $version"
  grep -q '<screenshot type="default">' "$root$prefix/share/metainfo/org.zentor.Zentor.metainfo.xml" \
    || fail "the metainfo shows no screenshot"
  for page in zentor zentor-service zentor-conformance; do
    gzip -dc "$root$prefix/share/man/man1/$page.1.gz" | grep -qF "\"Zentor $version\"" \
      || fail "man page $page.1.gz does not carry $version"
    MANWIDTH=80 man -l "$root$prefix/share/man/man1/$page.1.gz" >/dev/null 2>&1 || fail "man cannot format $page.1.gz"
  done
  [ ! -e "$root$prefix/share/man/man1/zentor.1" ] || fail "an uncompressed zentor.1 is installed beside zentor.1.gz"
  check_units "$root" "$prefix"

  # The licence travels with the program, and the history names this version.
  grep -q '^License: BSD-3-Clause' "$root$prefix/share/doc/zentor/copyright" \
    || fail "the copyright file does not state the BSD 3-Clause licence"
  gzip -dc "$root$prefix/share/doc/zentor/changelog.gz" | head -n 1 | grep -qF "zentor ($version)" \
    || fail "the changelog's latest entry is not $version: $(gzip -dc "$root$prefix/share/doc/zentor/changelog.gz" | head -n 1)"
  grep -qF '<project_license>BSD-3-Clause</project_license>' "$root$prefix/share/metainfo/org.zentor.Zentor.metainfo.xml" \
    || fail "the metainfo does not state the BSD 3-Clause licence"

  # --help and --version answer without a display.
  out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM= "$root$prefix/bin/zentor" --version 2>&1) \
    || fail "zentor --version failed: $out"
  [ "$out" = "zentor $version" ] || fail "zentor --version says '$out', not 'zentor $version'"
  out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM= "$root$prefix/bin/zentor" --help 2>&1) \
    || fail "zentor --help failed: $out"
  echo "$out" | grep -q '^Usage: zentor ' || fail "zentor --help prints no usage: $out"
  out=$("$root$prefix/bin/zentor-service" --version 2>&1) || fail "zentor-service --version failed: $out"
  [ "$out" = "zentor-service $version" ] || fail "zentor-service --version says '$out'"
}
