#!/bin/sh
# Every command answers --help and --version where the window would refuse to start (no window
# system, root without the sandbox setting), the version is the build's, and the manual page
# names exactly the options the program lists.
program=$1
manual=$2
version=$3

fail() { echo "$*"; exit 1; }
bare() { env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u QTWEBENGINE_DISABLE_SANDBOX "$program" "$@"; }

helped=
for command in "" run check; do
    text=$(bare $command --help) || fail "tamberline $command --help: exit status $?"
    helped="$helped$text
"
    [ -n "$command" ] || top=$text
    text=$(bare $command --version) || fail "tamberline $command --version: exit status $?"
    [ "$text" = "tamberline $version" ] || fail "tamberline $command --version is not tamberline $version"
done

# Each description starts two spaces after the widest name of its list.
printf '%s' "$helped" | grep -qx "  QUERY.json  The query file, as the window saves it." || fail "tamberline run --help: the arguments are not laid out in two columns"
printf '%s' "$helped" | grep -q "^Exit status: 0 when every page gave a result" || fail "tamberline run --help does not end with its exit statuses"
for command in run check; do
    printf '%s' "$top" | grep -q "^       tamberline $command QUERY.json" && printf '%s' "$top" | grep -q "^  $command  " ||
        fail "tamberline --help does not list the $command command with its usage"
done

wide=$(printf '%s' "$helped" | awk 'length($0) > 80')
[ -z "$wide" ] || fail "lines of --help wider than a terminal of 80 columns:
$wide"

listed=$(printf '%s' "$helped" | grep -oE '^  (-[a-z], )?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u)
documented=$(sed 's/\\-/-/g' "$manual" | grep -oE -- '--[a-z][a-z-]*' | sort -u)
[ "$listed" = "$documented" ] || fail "options in --help:
$listed
options in $manual:
$documented"

if command -v groff >/dev/null; then
    warnings=$(groff -man -ww -z "$manual" 2>&1)
    [ -z "$warnings" ] || fail "$warnings"
fi
