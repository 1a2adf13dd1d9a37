#!/bin/sh
# upgrade-remove.sh PACKAGE_DIR
# The package's life on a machine, in a throwaway root (dpkg --root): an
# older package installed first (as the previous release was built: manual
# pages uncompressed, no systemd units), this package installed over it, then
# removed, installed again and purged. Every step leaves exactly the package's
# files, the stand a lab installed in /etc/xdg/zentor/stands and the user's
# settings and stands are never touched, and the installed service serves the
# lab's and the user's stands after each installation.
. "$(dirname "$0")/lib.sh"
deb=$(ls "$1"/zentor_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || fail "no zentor_*.deb in $1 (packaging_debian_package builds it)"

root="$scratch/machine"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/triggers"
: >"$root/var/lib/dpkg/status"
: >"$root/var/lib/dpkg/available"
# The root holds only this package: its libraries and the bus are the host's.
dpkg_root() { dpkg --root="$root" --force-depends --force-not-root "$@" >>"$ZENTOR_TEST_HOME/dpkg.log" 2>&1; }

# The previous release, made from this one.
old="$scratch/old"
dpkg-deb -R "$deb" "$old" || fail "dpkg-deb cannot take the package apart"
sed -i 's/^Version: .*/Version: 0.0.9/' "$old/DEBIAN/control"
rm -rf "$old/usr/lib/systemd" "$old/usr/share/doc"
for page in "$old"/usr/share/man/man1/*.gz; do gzip -d "$page"; done
(cd "$old" && find usr -type f -exec md5sum {} + >DEBIAN/md5sums)
dpkg-deb --root-owner-group -b "$old" "$scratch/zentor_0.0.9_amd64.deb" >/dev/null || fail "cannot build the older package"

# What the lab and the user put on the machine, and what the programs wrote.
home="$root/home/operator"
mkdir -p "$root/etc/xdg/zentor/stands" "$home/.config/zentor/stands" "$home/.local/share/Korvu/MavrelTools" \
         "$home/.local/state/zentor" "$home/.config/Zentor"
sed 's/"name": "[^"]*"/"name": "Lab Stand Two"/' "$ZENTOR_SOURCE_DIR/stand/descriptions/full-system.json" \
  >"$root/etc/xdg/zentor/stands/lab-two.json"
sed 's/"name": "[^"]*"/"name": "My Own Stand"/' "$ZENTOR_SOURCE_DIR/stand/descriptions/readonly-nosepiece.json" \
  >"$home/.config/zentor/stands/mine.json"
printf '[Main]\r\nCompact=0\r\n' >"$home/.local/share/Korvu/MavrelTools/Zentor.ini"
printf '{}\n' >"$home/.local/state/zentor/zentor-service.json"
printf '[LinkSetting]\nNosepiece=1\n' >"$home/.config/Zentor/Zentor.conf"
kept="$scratch/kept.md5"
(cd "$root" && find etc home -type f -exec md5sum {} + | sort >"$kept")

untouched() {
  (cd "$root" && find etc home -type f -exec md5sum {} + | sort) | cmp -s - "$kept" \
    || fail "$1 changed what the lab or the user keeps: $(cd "$root" && find etc home -type f -exec md5sum {} + | sort | diff "$kept" -)"
}

# exactly_the_package: every file dpkg says it installed is there, and the
# root holds no other file outside what the lab and the user keep.
exactly_the_package() {
  dpkg --root="$root" -L zentor | while read -r f; do
    [ -e "$root$f" ] || echo "missing $f"
  done >"$scratch/missing"
  [ -s "$scratch/missing" ] && fail "$1: $(cat "$scratch/missing")"
  dpkg --root="$root" -L zentor | sort >"$scratch/listed"
  (cd "$root" && find usr -type f | sed 's|^|/|' | sort) | comm -23 - "$scratch/listed" >"$scratch/stray"
  [ -s "$scratch/stray" ] && fail "$1 left files no package owns: $(cat "$scratch/stray")"
  return 0
}

# serves_the_lab_stands: the installed service, on a private bus, lists the
# lab's and the user's stands after the shipped ones.
sed -e "s|@ZENTOR_SERVICE_DIR@|$scratch/no-services|" -e "s|@ZENTOR_STANDARD_DIRS@||" \
  "$ZENTOR_SOURCE_DIR/packaging/dbus/session-bus.conf.in" >"$scratch/bus.conf"
mkdir -p "$scratch/no-services"
serves_the_lab_stands() {
  log="$ZENTOR_TEST_HOME/service-$1.log"
  HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_CONFIG_DIRS="$root/etc/xdg" XDG_STATE_HOME="$scratch/state-$1" \
    dbus-run-session --config-file="$scratch/bus.conf" -- sh -c '
      "$1/usr/bin/zentor-service" --descriptions-dir "$1/usr/share/zentor/descriptions" --speed 0 2>"$2" &
      pid=$!
      i=0
      while [ $i -lt 300 ] && ! grep -q "serving org.zentor.Fiber" "$2"; do sleep 0.1; i=$((i + 1)); done
      kill $pid
      wait $pid' sh "$root" "$log"
  grep -q '"Lab Stand Two"' "$log" || fail "after $1 the service does not serve the lab's stand: $(cat "$log")"
  grep -q '"My Own Stand"' "$log" || fail "after $1 the service does not serve the user's stand: $(cat "$log")"
}

dpkg_root -i "$scratch/zentor_0.0.9_amd64.deb" || fail "the older package does not install: $(tail -n 20 "$ZENTOR_TEST_HOME/dpkg.log")"
[ -f "$root/usr/share/man/man1/zentor.1" ] || fail "the older package did not install its uncompressed manual page"
exactly_the_package "installing the older package"

dpkg_root -i "$deb" || fail "the package does not install over the older one: $(tail -n 20 "$ZENTOR_TEST_HOME/dpkg.log")"
version=$(dpkg-deb -f "$deb" Version)
[ "$(dpkg-query --root="$root" -W -f='${Version} ${Status}' zentor)" = "$version install ok installed" ] \
  || fail "after the upgrade dpkg says: $(dpkg-query --root="$root" -W -f='${Version} ${Status}' zentor)"
[ ! -e "$root/usr/share/man/man1/zentor.1" ] || fail "the upgrade left the older package's zentor.1"
[ -f "$root/usr/lib/systemd/user/zentor-service.service" ] || fail "the upgrade did not install the systemd unit"
exactly_the_package "the upgrade"
untouched "the upgrade"
serves_the_lab_stands upgrade

dpkg_root -r zentor || fail "the package cannot be removed: $(tail -n 20 "$ZENTOR_TEST_HOME/dpkg.log")"
left=$(cd "$root" && find usr -type f)
[ -z "$left" ] || fail "removing the package left: $left"
untouched "removing the package"

dpkg_root -i "$deb" || fail "the package does not install again after its removal"
exactly_the_package "installing again"
untouched "installing again"
serves_the_lab_stands reinstall

dpkg_root --purge zentor || fail "the package cannot be purged"
[ -z "$(cd "$root" && find usr -type f)" ] || fail "purging the package left files"
untouched "purging the package"
echo "PASS: $(basename "$deb") over 0.0.9, removed, installed again, purged"
