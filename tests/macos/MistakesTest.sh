#!/bin/sh
# usage: tests/macos/MistakesTest.sh SOURCES OBJECTS
# Makes each of the mistakes in a copy of the back end. Says for each whether the compiler refuses it (type), or else what the
# objects use tells it (use), or neither (missed). Fails when the compiler refuses fewer than 27 of 30.
set -eu
folder=$(dirname "$(realpath "$0")")
sources=$(realpath "$1")
objects=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

made=0
refused=0
while IFS='|' read -r file compiled expression what; do
    case $file in '#'*) continue ;; esac
    rm -rf "$work/src" "$work/objects"
    mkdir "$work/src"
    cp -r "$sources/platform" "$sources/support" "$work/src"
    cp -r "$objects" "$work/objects"
    sed -i "$expression" "$work/src/platform/macos/$file"
    if [ "$(diff "$sources/platform/macos/$file" "$work/src/platform/macos/$file" | grep -c '^>')" != 1 ]; then
        echo "not one line: $file $expression"
        exit 1
    fi
    made=$((made + 1))
    if ! "$folder/compile" "$work/src" "$work/objects" "$compiled" >/dev/null 2>&1; then
        found=type
        refused=$((refused + 1))
    elif ! "$folder/UsesTest.sh" "$work/objects" >/dev/null 2>&1; then
        found=use
    else
        found=missed
    fi
    echo "$found: $file: $what"
done <"$folder/mistakes"
echo "$refused of $made are refused by the compiler"
[ $made -eq 30 ] && [ $refused -ge 27 ]
