#!/bin/sh
# usage: tests/macos/BundleTest.sh PROJECT
# Configures the build as on a Mac, without building, and looks at what it would make.
set -eu
project=$(realpath "$1")
build=$(mktemp -d)
trap 'rm -r "$build"' EXIT

env -u CMAKE_CXX_COMPILER_LAUNCHER cmake -S "$project" -B "$build" -G Ninja -D CMAKE_EXPORT_COMPILE_COMMANDS=ON \
    -D CMAKE_TOOLCHAIN_FILE="$project/tests/macos/packages/Darwin.cmake" -D CMAKE_BUILD_TYPE=Release >"$build/log" 2>&1 \
    || { cat "$build/log"; exit 1; }
ninja -C "$build" -t commands knucklet >"$build/commands"
status=0

# says WHAT FILE TEXT: fails unless the file has the text.
says() {
    grep -qF -e "$3" "$2" || { echo "$1: not $3"; status=1; }
}

tr -d '\n\t' <"$build/Knucklet.app/Contents/Info.plist" >"$build/plist"
says Info.plist "$build/plist" '<key>LSUIElement</key><true/>'
says Info.plist "$build/plist" '<key>LSMinimumSystemVersion</key><string>13.0</string>'
says Info.plist "$build/plist" '<key>CFBundleIdentifier</key><string>org.knucklet.Knucklet</string>'
says Info.plist "$build/plist" '<key>CFBundleExecutable</key><string>Knucklet</string>'
says Info.plist "$build/plist" '<key>CFBundleIconFile</key><string>Knucklet.icns</string>'
version=$(sed -n 's/^project(Knucklet VERSION \([0-9.]*\).*/\1/p' "$project/CMakeLists.txt")
says Info.plist "$build/plist" "<key>CFBundleShortVersionString</key><string>$version</string>"

for resource in Knucklet.icns AppIcon-preview.png onboarding-hero.png share-bg.png; do
    says 'the bundle' "$build/build.ninja" "build Knucklet.app/Contents/Resources/$resource"
done
says 'the bundle' "$build/commands" 'codesign --force --sign -'

# Each file of the back end is part of the program, and none of them without reference counting.
for file in "$project"/src/platform/macos/*.cpp "$project"/src/platform/macos/*.mm; do
    says 'the program' "$build/commands" "-c $file"
done
if grep -e '-c .*\.mm' "$build/commands" | grep -v -e '-fobjc-arc'; then
    echo 'without -fobjc-arc, as above'
    status=1
fi
exit $status
