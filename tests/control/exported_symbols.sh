#!/bin/sh
# The shared library exports the public interface and nothing else: its dynamic symbols,
# demangled, are exactly the committed list. A new export on purpose goes into the list (and,
# when one changes or goes, the SONAME's number goes up).
library=$1
expected=$2

actual=$(nm -DC --defined-only "$library" | cut -d' ' -f3- | LC_ALL=C sort -u) || exit 1
difference=$(printf '%s\n' "$actual" | diff -u "$expected" -) && exit 0
echo "The symbols $library exports differ from $expected (+ exported, - missing):"
printf '%s\n' "$difference" | tail -n +3
exit 1
