#!/bin/sh
# Where the program cannot open its window it must refuse to start and say why (status 1), not
# abort: with no window system at all, and as root without QTWEBENGINE_DISABLE_SANDBOX=1, where
# it must not switch the browser's sandbox off by itself.
program=$1

expect_refusal() { # hint, env arguments...
    hint=$1
    shift
    output=$(env "$@" "$program" 2>&1)
    status=$?
    echo "$output"
    [ "$status" -eq 1 ] || { echo "expected exit status 1, got $status"; exit 1; }
    echo "$output" | grep -q "$hint" || { echo "the message does not say what to do"; exit 1; }
}

expect_refusal "QT_QPA_PLATFORM=offscreen" -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u XDG_RUNTIME_DIR
if [ "$(id -u)" -eq 0 ]; then
    expect_refusal "QTWEBENGINE_DISABLE_SANDBOX=1" -u QTWEBENGINE_DISABLE_SANDBOX QT_QPA_PLATFORM=offscreen
fi
