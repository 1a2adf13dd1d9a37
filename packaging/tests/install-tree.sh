#!/bin/sh
# install-tree.sh BUILD VERSION
# cmake --install into a prefix whose path has spaces, as a user installs into
# the home folder: every file where the desktop and the bus look for it, the
# activation files and the menu entry naming that prefix, the desktop entry and
# the AppStream file valid, --help and --version answered without a display.
. "$(dirname "$0")/lib.sh"
build=$1 version=$2
prefix="$scratch/home/my apps/.local"
install_into "$build" "$prefix"
check_tree "" "$prefix" "$version"

# The installed program finds its delivered Camera.ini beside its prefix,
# never in the build tree: the build-tree copy is out of its reach here.
[ ! -e "$prefix/bin/Camera.ini" ] || fail "Camera.ini was installed beside the program"
# The screenshot the metainfo shows is the one in the tree, at its size
# (packaging/desktop/make-screenshot.sh makes it).
shot="$ZENTOR_SOURCE_DIR/packaging/desktop/screenshots/main-panel.png"
size=$(identify -format '%w %h' "$shot" 2>/dev/null) || fail "no screenshot $shot"
grep -qF "width=\"${size% *}\" height=\"${size#* }\">https://zentor.org/screenshots/main-panel.png</image>" \
  "$prefix/share/metainfo/org.zentor.Zentor.metainfo.xml" || fail "the metainfo's screenshot is not $size as $shot is"
echo "PASS"
