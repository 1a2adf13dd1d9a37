#!/bin/sh
# debian-package.sh BUILD VERSION OUT
# The Debian package CPack builds from the install rules: named and versioned
# from the project, its dependencies declared, and its contents, unpacked in a
# scratch root, the same installation the install rules make under /usr. The
# package is left in OUT for the tests that check it further (lintian, dpkg).
. "$(dirname "$0")/lib.sh"
build=$1 version=$2 out=$3
rm -rf "$out"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$out" >"$ZENTOR_TEST_HOME/cpack.log" 2>&1 \
  || fail "cpack failed: $(tail -n 20 "$ZENTOR_TEST_HOME/cpack.log")"
deb=$(ls "$out"/zentor_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || fail "cpack made no zentor_*.deb: $(ls "$out")"

[ "$(dpkg-deb -f "$deb" Package)" = zentor ] || fail "package name is not zentor"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version is $(dpkg-deb -f "$deb" Version), not $version"
depends=$(dpkg-deb -f "$deb" Depends)
for need in libqt6widgets6 libqt6dbus6 libc6 dbus-daemon dbus-session-bus; do
  echo "$depends" | grep -q "$need" || fail "Depends lacks $need: $depends"
done
# A virtual package is named only after a real one that provides it.
echo "$depends" | grep -q 'dbus-user-session | [a-z-]*dbus-session-bus' \
  || fail "the session bus dependency does not name a real package first: $depends"
maintainer=$(dpkg-deb -f "$deb" Maintainer)
case "$maintainer" in
  *@localhost*|*.invalid*|*example*|"") fail "the maintainer is a placeholder: $maintainer" ;;
esac

dpkg-deb -c "$deb" >"$ZENTOR_TEST_HOME/contents.txt" || fail "dpkg-deb cannot list the package"
while read -r f; do
  grep -q "\./usr/$f\$" "$ZENTOR_TEST_HOME/contents.txt" || fail "the package lacks /usr/$f"
done <"$here/installed-files.txt"
if grep -v ' \./usr/' "$ZENTOR_TEST_HOME/contents.txt" | grep -v ' \./$' | grep -q .; then
  fail "the package installs outside /usr: $(grep -v ' \./usr/' "$ZENTOR_TEST_HOME/contents.txt")"
fi

root="$scratch/scratch root"
rm -rf "$root"
dpkg-deb -x "$deb" "$root" || fail "dpkg-deb cannot unpack the package"
check_tree "$root" /usr "$version"
echo "PASS: $(basename "$deb")"
