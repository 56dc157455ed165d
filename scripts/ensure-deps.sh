#!/bin/sh
# Installs the Debian packages the build, the tests and `make run` need; quick when all are there.
set -eu

# Packages named on the command line are checked instead (the fuzz build's compiler, say).
packages=${*:-"cmake ninja-build g++ pkg-config make
qt6-base-dev qt6-base-dev-tools qt6-webengine-dev qt6-webchannel-dev
libmodest-dev libgumbo-dev libicu-dev libxml2-dev libxcb1-dev libgl-dev xvfb xauth
python3 python3-distributed dpkg-dev file binutils"}

missing=""
for p in $packages; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing="$missing $p"
    fi
done
[ -z "$missing" ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
    echo "Missing Debian packages:$missing" >&2
    echo "Run 'sudo $0' or install them with apt-get." >&2
    exit 1
fi
echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
# shellcheck disable=SC2086
apt-get install -y -qq $missing
