#!/bin/sh
# usage: tests/package/InstallTest.sh CMAKE BUILD
# Installs the build into a folder of its own and looks for everything that a desktop needs.
set -eu

cmake=$1
build=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
"$cmake" --install "$build" --prefix "$prefix" >/dev/null

id=org.knucklet.Knucklet
for file in bin/knucklet libexec/knucklet-tap libexec/knucklet-grant "share/polkit-1/actions/$id.policy" \
    "share/applications/$id.desktop" "share/metainfo/$id.metainfo.xml" "share/dbus-1/services/$id.service" \
    lib/systemd/user/knucklet.service \
    share/man/man1/knucklet.1 share/man/man8/knucklet-grant.8 share/man/man8/knucklet-tap.8 \
    "share/icons/hicolor/symbolic/apps/$id-symbolic.svg" "share/icons/hicolor/22x22/apps/$id-symbolic.svg" \
    "share/icons/hicolor/scalable/apps/$id.svg" "share/icons/hicolor/16x16/apps/$id.png" \
    "share/icons/hicolor/48x48/apps/$id.png" "share/icons/hicolor/256x256/apps/$id.png" \
    share/knucklet/AppIcon-preview.png share/knucklet/onboarding-hero.png share/knucklet/share-bg.png; do
    [ -s "$prefix/$file" ] || { echo "$file is missing"; exit 1; }
done
for module in knucklet-calendar knucklet-windows; do
    [ -n "$(find "$prefix"/lib* -path "*/knucklet/$module.so")" ] || { echo "$module.so is missing"; exit 1; }
done
[ -x "$prefix/bin/knucklet" ] || { echo "bin/knucklet is not executable"; exit 1; }

# What stays in memory all day brings no toolkit.
libraries=$(readelf -d "$prefix/bin/knucklet" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
case $libraries in *Qt* | *icu* | *glib*) echo "bin/knucklet needs $libraries"; exit 1 ;; esac

# The input helper comes without any right, and with nothing that it could not do without.
[ "$(stat -c %a "$prefix/libexec/knucklet-tap")" = 755 ] || { echo "libexec/knucklet-tap has a right"; exit 1; }
libraries=$(readelf -d "$prefix/libexec/knucklet-tap" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ "$libraries" = libc.so.6 ] || { echo "libexec/knucklet-tap needs $libraries"; exit 1; }

# What is staged in the build folder is what is installed, but for the index of the icons, which every system has.
diff -r --exclude=index.theme "$prefix/share" "$build/share"
[ ! -e "$prefix/share/icons/hicolor/index.theme" ] || { echo "the system's index of icons is replaced"; exit 1; }
desktop-file-validate "$prefix/share/applications/$id.desktop"
