#!/bin/sh
# Builds the .deb from the configured build, as `make package` does, and checks that it holds
# the library (without debug info), only the public headers, the CMake and pkg-config files, the
# program, its manual page and menu entry, and that it depends on the libraries it links.
build=$1
libdir=$2

fail() { echo "$*"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log"; fail "cpack failed"; }
deb=$(ls "$work"/tamberline_*.deb) || fail "no .deb made"
ls "$work"/tamberline-dbgsym_*.ddeb >/dev/null || fail "no debug symbols package made"

files=$(dpkg-deb -c "$deb" | awk '{ print $6 }')
lib=./usr/$libdir
for path in $lib/libtamberline.so.0.1 $lib/libtamberline.so.0 $lib/libtamberline.so \
    $lib/cmake/Tamberline/TamberlineConfig.cmake $lib/cmake/Tamberline/TamberlineConfigVersion.cmake \
    $lib/cmake/Tamberline/TamberlineTargets.cmake $lib/pkgconfig/tamberline.pc \
    ./usr/bin/tamberline ./usr/share/man/man1/tamberline.1.gz ./usr/share/applications/tamberline.desktop \
    ./usr/share/icons/hicolor/scalable/apps/tamberline.svg ./usr/share/tamberline/examples/query.json; do
    printf '%s\n' "$files" | grep -qxF "$path" || fail "$deb lacks $path"
done
headers=$(printf '%s\n' "$files" | grep '^./usr/include/.*[^/]$' | sort | tr '\n' ' ')
[ "$headers" = "./usr/include/tamberline/tamberline.h ./usr/include/tamberline/tamberline_export.h ./usr/include/tamberline/tamberlinecontrol.h " ] \
    || fail "headers in $deb: $headers"

depends=$(dpkg-deb -f "$deb" Depends)
for package in libqt6webenginewidgets6 libqt6webenginecore6-bin libqt6core6 libc6; do
    printf '%s\n' "$depends" | grep -qE "(^|, )$package( |,|$)" || fail "Depends lacks $package: $depends"
done

dpkg-deb --fsys-tarfile "$deb" | tar -xO "$lib/libtamberline.so.0.1" >"$work/library" || fail "cannot read the library"
! readelf -S "$work/library" | grep -q '\.debug_info' || fail "the packaged library carries debug info"
