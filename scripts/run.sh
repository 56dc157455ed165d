#!/bin/sh
# Starts a program of the build the way `make run` does: on a display, and with what the
# embedded browser needs when it runs as root.
set -eu
if [ "$(id -u)" -eq 0 ] && [ -z "${QTWEBENGINE_DISABLE_SANDBOX:-}" ]; then
    echo "Running as root: the browser engine's sandbox cannot start, so QTWEBENGINE_DISABLE_SANDBOX=1 is set for this run."
    export QTWEBENGINE_DISABLE_SANDBOX=1
fi
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    echo "No display: starting the program under xvfb-run."
    exec xvfb-run -a "$@"
fi
exec "$@"
