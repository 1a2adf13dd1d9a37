#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing need,
# but only those that are missing, so that a prepared machine is not touched.
set -euo pipefail
packages=(
  build-essential cmake pkg-config ccache
  qt6-base-dev qt6-base-dev-tools libgl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libsdl2-dev
  dbus dbus-bin dbus-daemon python3 python3-dbus python3-gi
  systemd libglib2.0-bin
  xvfb xauth x11-apps x11-utils imagemagick fonts-dejavu-core
  # Window tests: a real window manager, pointer clicks, and input queued as the window system queues it
  openbox xdotool qt6-base-private-dev
  desktop-file-utils appstream dpkg-dev man-db   # packaging tests: validate the desktop entry and metainfo, build the .deb
  lintian                     # packaging tests: Debian's package checker on the .deb
  dbus-user-session           # packaging tests: the session bus of a systemd user manager (dbus.socket), which starts the units
  at-spi2-core python3-pyatspi                   # accessibility test: the AT-SPI bus and a client that walks the window
  xtrace                      # bench_idle counts the idle panel's X requests
  clang libclang-rt-14-dev ninja-build   # scripts/test: the sanitizer build and the fuzz targets (fuzz/run.sh)
  libdbus-1-dev               # the service serves its objects on a libdbus connection
  openssh-client openssh-server   # zentor --host: the remote tests run a real sshd on 127.0.0.1
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
