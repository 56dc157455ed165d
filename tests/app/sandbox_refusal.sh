#!/bin/sh
# As root, without QTWEBENGINE_DISABLE_SANDBOX=1, the program must refuse to start and say why,
# rather than switch the browser's sandbox off by itself.
program=$1
if [ "$(id -u)" -ne 0 ]; then
    echo "not root: nothing to check"
    exit 0
fi
output=$(env -u QTWEBENGINE_DISABLE_SANDBOX QT_QPA_PLATFORM=offscreen "$program" 2>&1)
status=$?
echo "$output"
[ "$status" -eq 1 ] || { echo "expected exit status 1, got $status"; exit 1; }
echo "$output" | grep -q "QTWEBENGINE_DISABLE_SANDBOX=1" || { echo "the message does not say what to do"; exit 1; }
