#!/bin/sh
# usage: tests/package/PackageBuild.sh FOLDER
# Makes the package in FOLDER, as knucklet.deb, and unpacks it there. The benchmarks measure what is packaged.
set -eu
folder=$1
cd "$(dirname "$0")/../.."

cmake --preset bench >/dev/null
cmake --build --preset bench --target knucklet knucklet-tap
rm -rf "$folder"
cpack --preset bench -B "$folder" -D CPACK_DEBIAN_FILE_NAME=knucklet.deb
dpkg-deb -x "$folder/knucklet.deb" "$folder/unpacked"
