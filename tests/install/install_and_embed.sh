#!/bin/sh
# Installs the build into a temporary prefix and builds the example hosts against that prefix
# alone, as the README's Embedding section does: the C host through pkg-config, the Qt host
# through find_package. Then runs both; the Qt host closes its editors itself.
build=$1
source=$2
libdir=$3

fail() { echo "$*"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" --strip >"$work/install.log" || { cat "$work/install.log"; fail "cmake --install failed"; }
# The files a host's build reads must not lead back to where the component was built.
leaks=$(grep -rlF -e "$source" -e "$build" "$prefix/include" "$prefix/$libdir/cmake" "$prefix/$libdir/pkgconfig")
[ -z "$leaks" ] || fail "installed files name $source or $build: $leaks"

# The README's C example is the C host, word for word.
sed -n '/^## The C API/,/^```$/p' "$source/README.md" | sed '1,/^```c$/d;$d' | diff -u - "$source/examples/hosts/c/main.c" \
    || fail "README.md's C example is not examples/hosts/c/main.c"

cp -R "$source/examples/hosts/c" "$source/examples/hosts/qt" "$work/"
unset CMAKE_PREFIX_PATH PKG_CONFIG_PATH
for host in c qt; do
    PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig cmake -S "$work/$host" -B "$work/$host/build" -G Ninja \
        -DCMAKE_PREFIX_PATH="$prefix" >"$work/$host.log" 2>&1 \
        && cmake --build "$work/$host/build" >>"$work/$host.log" 2>&1 \
        || { cat "$work/$host.log"; fail "the $host host does not build against $prefix"; }
    ! grep -qF "$source" "$work/$host/build/build.ninja" "$work/$host/build/CMakeCache.txt" \
        || fail "the $host host's build reaches into $source"
done

# The README's one-line C build, by pkg-config alone.
cc "$work/c/main.c" $(PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig pkg-config --cflags --libs tamberline) -o "$work/c_host_cc" \
    || fail "cc with pkg-config's flags does not build the C host"

# Without a window system the C host's editor refuses, and the host says why and goes on.
output=$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$work/c/build/c_host") || fail "c_host: exit status $?"
expected="entries cannot be replaced: Object required
filter: class=price
not edited: No window system"
case "$output" in "$expected"*) ;; *) fail "c_host printed:
$output" ;; esac

# Settings and the browser's files go to the temporary home, never the user's.
output=$(env -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME HOME="$work/home" \
    QT_QPA_PLATFORM=offscreen QTWEBENGINE_DISABLE_SANDBOX=1 \
    "$work/qt/build/qt_host" --close-editors attributes wizard page-parser 2>"$work/qt_host.err") \
    || { cat "$work/qt_host.err"; fail "qt_host: exit status $?"; }
expected="attributes: False
wizard: False
page-parser: True
Url1: about:blank
SearchText: Price*
NodeOffset: 1
ElemAttribs: class=price"
[ "$output" = "$expected" ] || fail "qt_host printed:
$output"
