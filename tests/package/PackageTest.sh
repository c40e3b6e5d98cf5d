#!/bin/sh
# usage: tests/package/PackageTest.sh PACKAGE TOUR VIRTUAL_DESKTOP
# Installs, uses, upgrades, removes and purges the package as root where it changes nothing of this machine: on a file
# system that is this machine's, with every change kept in memory.
set -eu
[ "$(id -u)" = 0 ] || exec sudo "$0" "$@"
case "${4:-}" in
    "") exec unshare --mount --pid --fork --kill-child --mount-proc "$0" "$@" outside ;;
    outside)
        # Unmounted with the last process of this namespace; only the empty folder is left.
        memory=$(mktemp -d)
        trap 'umount --lazy "$memory" && rmdir "$memory"' EXIT
        mount -t tmpfs -o mode=755 tmpfs "$memory"
        root=$memory/root
        mkdir "$memory/changes" "$memory/work" "$root"
        mount -t overlay -o "lowerdir=/,upperdir=$memory/changes,workdir=$memory/work" overlay "$root"
        for folder in dev proc sys; do mount --rbind /$folder "$root/$folder"; done
        for folder in run tmp; do mount -t tmpfs -o mode=1777 tmpfs "$root/$folder"; done
        cp "$0" "$root/tmp/test"
        cp "$1" "$root/tmp/knucklet.deb"
        cp "$2" "$root/tmp/tour"
        cp "$3" "$root/tmp/virtual-desktop"
        chroot "$root" /tmp/test /tmp/knucklet.deb /tmp/tour /tmp/virtual-desktop inside
        exit
        ;;
esac

cd /tmp
export XDG_RUNTIME_DIR=/tmp
package=$1 tour=$2 virtual_desktop=$3
helper=/usr/libexec/knucklet-tap
fail() { echo "after $last: $1"; exit 1; }
does() {
    last=$*
    "$@" >output 2>&1 || { cat output; fail "it failed"; }
}
is() { [ "$(stat -c '%a %U:%G' $helper)" = "$1" ] || fail "$(stat -c '%a %U:%G' $helper) and not $1"; }
overrides() { [ "$(dpkg-statoverride --list $helper)" = "$1" ] || fail "$(dpkg-statoverride --list $helper)"; }
# Where packages put things, without what everybody may write to. dpkg keeps the last state of its own files, and man-db a
# cache of manuals for each language.
files() {
    find /etc /opt /srv /usr /var -xdev -path /var/tmp -prune -o -printf '%y %m %u:%g %p\n' \
        | grep -v -e ' /var/lib/dpkg/.*-old$' -e ' /var/cache/man/' | sort
}
as_user() { setpriv --reuid nobody --regid nogroup --clear-groups "$@"; }

# Neither what this machine leaves out of packages nor what it has installed belongs to this test.
rm -rf /etc/dpkg/dpkg.cfg.d
does dpkg --purge knucklet
files >before

# Everything is there, and works for somebody who is not root.
does dpkg --install "$package"
is "755 root:root"
overrides ""
does systemd-analyze --user --man=no verify knucklet.service
[ ! -s output ] || fail "$(cat output)"
mkdir -m 777 pictures
does as_user "$tour" /usr/bin/knucklet /tmp/pictures
cat >activate <<'EOF'
set -e
gdbus call --session --dest org.knucklet.Knucklet --object-path /org/knucklet/Knucklet \
    --method org.freedesktop.Application.Activate '{}'
id=$(gdbus call --session --dest org.freedesktop.DBus --object-path / \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID org.knucklet.Knucklet | sed 's/.* \([0-9]*\),.*/\1/')
[ "$(readlink "/proc/$id/exe")" = /usr/bin/knucklet ]
kill "$id"
EOF
# The desktop's own bus knows no services.
does as_user "$virtual_desktop" dbus-run-session -- sh /tmp/activate

# A grant is kept by an upgrade, and ends when the package goes.
does /usr/libexec/knucklet-grant
is "2755 root:input"
does dpkg-deb --raw-extract "$package" newer
sed -i 's/^Version: .*/&.1/' newer/DEBIAN/control
does dpkg-deb --build newer newer.deb
does dpkg --install newer.deb
is "2755 root:input"
overrides "root input 2755 $helper"
does dpkg --remove knucklet
overrides ""
does dpkg --install newer.deb
is "755 root:root"

# Nothing is left, whatever has been set up in between, and nobody runs on: what stands in for the helper ends with the
# last who could write to it, unless it is killed.
does /usr/libexec/knucklet-grant
does systemctl --global enable knucklet.service
mkfifo gate
cp "$(command -v cat)" $helper
$helper <gate & program=$!
exec 3>gate
until [ "/proc/$program/exe" -ef $helper ]; do kill -0 $program; done
does dpkg --purge knucklet
exec 3>&-
status=0
wait $program || status=$?
[ $status = 137 ] || fail "who ran ended with $status"
files >after
diff before after >left || { cat left; fail "something is left"; }
