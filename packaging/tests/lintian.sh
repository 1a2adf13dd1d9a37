#!/bin/sh
# lintian.sh PACKAGE_DIR
# Debian's own package checker finds no error and no warning in the package
# the packaging test built. An override, should one ever be needed, is shipped
# in the package (usr/share/lintian/overrides/zentor) with a comment line
# above it that says why.
. "$(dirname "$0")/lib.sh"
deb=$(ls "$1"/zentor_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || fail "no zentor_*.deb in $1 (packaging_debian_package builds it)"

log="$ZENTOR_TEST_HOME/lintian.log"
lintian --fail-on error,warning --no-tag-display-limit --display-info "$deb" >"$log" 2>&1
rc=$?
cat "$log"
[ $rc -eq 0 ] || fail "lintian finds errors or warnings in $(basename "$deb"): $(grep -E '^[EW]: ' "$log")"
grep -qE '^[EW]: ' "$log" && fail "lintian reports errors or warnings: $(grep -E '^[EW]: ' "$log")"

# Every override has its reason: a comment line right above it.
overrides="$scratch/overrides"
if dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/share/lintian/overrides/zentor >"$overrides" 2>/dev/null; then
  awk '/^#/ { reason = 1; next } /^[[:space:]]*$/ { reason = 0; next }
       { if (!reason) { print "override without a reason: " $0; bad = 1 } reason = 0 }
       END { exit bad }' "$overrides" || fail "lintian overrides need a reason each"
fi
echo "PASS: $(basename "$deb")"
