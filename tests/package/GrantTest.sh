#!/bin/sh
# usage: tests/package/GrantTest.sh TAP INSTALLED_TAP POLICY
# Uses the grant tool as root where it changes nothing of this machine: in a mount namespace with the input helper, its
# policy and the package manager's notes on folders of its own, and with a system bus and a polkit daemon of its own.
set -eu
[ "$(id -u)" = 0 ] || exec sudo "$0" "$@"
[ "${4:-}" = inside ] || exec unshare --mount --pid --fork --kill-child --mount-proc "$0" "$@" inside
build=$(cd "$(dirname "$1")" && pwd) tap=$2 policy=$3
grant=$(dirname "$tap")/knucklet-grant

own() { mount -t tmpfs -o mode=755 tmpfs "$1"; }
fail() { echo "after $last: $1"; exit 1; }
is() { [ "$(stat -c '%a %U:%G' "$tap")" = "$1" ] || fail "$(stat -c '%a %U:%G' "$tap") and not $1"; }
overrides() { [ "$(dpkg-statoverride --list)" = "$1" ] || fail "$(dpkg-statoverride --list)"; }
ends() {
    code=$1; shift
    last=$* status=0
    "$@" >/dev/null 2>&1 || status=$?
    [ $status = "$code" ] || fail "ended with $status and not $code"
}
install_tap() { rm -f "$tap"; cp "$build/knucklet-tap" "$tap"; chown root:root "$tap"; chmod 755 "$tap"; }
# Another program in the helper's place, which runs until it is killed or nobody can write to it any more.
run_tap() {
    install_tap
    cp "$(command -v cat)" "$tap"
    "$tap" <"$gate" & program=$!
    exec 3>"$gate"
    until [ "/proc/$program/exe" -ef "$tap" ]; do kill -0 $program; done
}
was_killed() {
    exec 3>&-
    status=0
    wait $program || status=$?
    [ $status = 137 ] || fail "who ran ended with $status"
}
# A shell stays as the parent, because that is whose right polkit looks at.
as() { user=$1; shift; setpriv --reuid "$user" --regid nogroup --clear-groups sh -c '"$@"; exit $?' sh "$@"; }

# The folders between the helper's and the first that this machine has are made in memory.
first=$(dirname "$tap")
while [ ! -d "$(dirname "$first")" ]; do first=$(dirname "$first"); done
[ -d "$first" ] || first=$(dirname "$first")
cp -r "$build" /tmp/knucklet-build.$$
build=/tmp/knucklet-build.$$
trap 'rm -rf "$build"' EXIT
own "$first"
mkdir -p "$(dirname "$tap")"
cp "$build/knucklet-grant" "$grant"
own /var/lib/dpkg
gate=/var/lib/dpkg/gate
mkfifo "$gate"
install_tap

# Granted and revoked, once and again, by the package manager's means.
ends 0 "$grant"; is "2755 root:input"
overrides "root input 2755 $tap"
ends 0 "$grant"; is "2755 root:input"
ends 0 "$grant" --revoke; is "755 root:root"
overrides ""
ends 0 "$grant" --revoke; is "755 root:root"

# A grant that fails takes nothing away.
ends 0 "$grant"
ends 153 sh -c 'ulimit -f 0; exec "$0"' "$grant"; is "2755 root:input"
overrides "root input 2755 $tap"

# Who has the right and runs ends when it is taken back, also one whose file has been replaced, and nobody else.
cat <"$gate" >/dev/null & other=$!
run_tap; ends 0 "$grant"; ends 0 "$grant" --revoke; was_killed
run_tap; install_tap; ends 0 "$grant"; ends 0 "$grant" --revoke; was_killed
wait $other || fail "another program was ended"
overrides ""; is "755 root:root"

# Everything else is refused, and changes nothing.
ends 64 "$grant" --grant
ends 64 "$grant" /bin/sh
ends 64 "$grant" --revoke "$tap"
ends 64 "$grant" ""
ends 77 as nobody "$grant"
is "755 root:root"
mkdir /var/lib/dpkg/hostile
for name in id stat chown chmod dirname dpkg-statoverride; do
    printf '#!/bin/sh\ntouch /var/lib/dpkg/fooled\n' >"/var/lib/dpkg/hostile/$name"
done
chmod 755 /var/lib/dpkg/hostile/*
hostile=/var/lib/dpkg/hostile
ends 0 env PATH=$hostile ENV=$hostile/id DPKG_ADMINDIR=$hostile DPKG_ROOT=$hostile /bin/sh "$grant"
[ ! -e /var/lib/dpkg/fooled ] || fail "uses the caller's PATH"
overrides "root input 2755 $tap"
ends 0 "$grant" --revoke; is "755 root:root"

# What is not as root has installed it gets nothing.
chmod 775 "$tap"; ends 77 "$grant"; is "775 root:root"
chmod 757 "$tap"; ends 77 "$grant"; is "757 root:root"
chmod 755 "$tap"; chown nobody "$tap"; ends 77 "$grant"
install_tap; mv "$tap" "$tap.real"; ln -s "$tap.real" "$tap"; ends 77 "$grant"
rm "$tap"; ends 77 "$grant"
mkdir "$tap"; ends 77 "$grant"; rmdir "$tap"
install_tap; chmod 777 "$(dirname "$tap")"; ends 77 "$grant"; chmod 755 "$(dirname "$tap")"
overrides ""

# polkit knows the action, which is for administrators unless a rule says otherwise, and runs nothing else by it.
rules=/etc/polkit-1/rules.d
cp -r /usr/share/polkit-1/actions /var/lib/dpkg/actions
for folder in /run /usr/share/polkit-1/actions $rules; do own $folder; done
cp /var/lib/dpkg/actions/* "$policy" /usr/share/polkit-1/actions
cat >$rules/50-test.rules <<'EOF'
polkit.addRule(function(action, subject) {
    if (action.id == "org.knucklet.Knucklet.grant" && subject.user == "nobody")
        return polkit.Result.YES;
});
EOF
mkdir /run/dbus
dbus-daemon --system --nofork --nopidfile 2>/dev/null &
question="--dest=org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.ListNames"
until dbus-send --system --print-reply $question >/dev/null 2>&1; do kill -0 $!; done
ends 0 sh -c "pkaction --action-id org.knucklet.Knucklet.grant --verbose | grep -q 'implicit active: *auth_admin$'"
ends 127 as daemon pkexec "$grant"; is "755 root:root"
ends 127 as nobody pkexec /bin/true
ends 0 as nobody pkexec "$grant"; is "2755 root:input"
ends 64 as nobody pkexec "$grant" --other; is "2755 root:input"
ends 0 as nobody pkexec "$grant" --revoke; is "755 root:root"

# Without the package manager the file alone says it.
mount --bind "$policy" "$(command -v dpkg-statoverride)"
ends 0 "$grant"; is "2755 root:input"
ends 0 "$grant" --revoke; is "755 root:root"
