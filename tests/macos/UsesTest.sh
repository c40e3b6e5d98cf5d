#!/bin/sh
# usage: tests/macos/UsesTest.sh OBJECTS
# Fails when the back end uses something of the system that uses.allowed does not list, or lists what it does not use.
set -eu
folder=$(dirname "$(realpath "$0")")
found=$(mktemp -d)
trap 'rm -r "$found"' EXIT

"$folder/uses" "$1" >"$found/uses"
# What the languages' own libraries bring differs between their releases, and need not be there.
sed -n 's/^runtime /function /p' "$folder/uses.allowed" | sort >"$found/runtime"
grep -v -e '^runtime ' -e '^#' -e '^$' "$folder/uses.allowed" | sort >"$found/allowed"
comm -23 "$found/uses" "$found/runtime" >"$found/system"

status=0
diff "$found/allowed" "$found/system" | sed -n -e 's/^>/not allowed:/p' -e 's/^</not used:/p' >"$found/differences"
if [ -s "$found/differences" ]; then
    cat "$found/differences"
    status=1
fi
# Whatever is allowed one day, these are not: networks, which key was pressed, and calls whose names nobody sees.
if grep -E 'NSURL(Session|Connection|Download|Request)|NSHost|NSSocket|NSStream|CFSocket|CFStream|CFHTTP|CFHost|CFNetwork|function (nw_|socket|connect|bind|listen|getaddrinfo|send|recv)|[kK]ey[cC]ode|characters|UnicodeString|NSClassFromString|NSSelectorFromString|performSelector|objc_getClass|sel_registerName' "$found/uses"; then
    echo 'forbidden, as above'
    status=1
fi
if [ "$(grep '^field ' "$found/uses")" != 'field 0x8' ]; then
    echo 'of an event, field 8 alone may be read'
    status=1
fi
exit $status
