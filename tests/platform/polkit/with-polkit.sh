#!/bin/bash
# with-polkit.sh PROGRAM ARGUMENTS...: runs a copy of the program as an ordinary user in a world with a system bus and
# polkit of its own, which goes with it. Beside the copy lies agent.py. In that world
#   - a command line with "rule-yes" in it is allowed without a password, one with "rule-no" is refused,
#   - any other asks an agent for the administrator's password, which is "adminpw".
# pkexec is setuid and looks for the bus in one place only: hence a mount namespace. Ends with 77 where the kernel
# grants none.
set -e
here=$(dirname "$(readlink -f "$0")")
if [ -z "$WAYFAR_PRIVATE_WORLD" ]; then
    namespaces=(--mount --pid --fork --kill-child --mount-proc --propagation private)
    if ! refusal=$(unshare "${namespaces[@]}" true 2>&1); then
        echo "SKIP: no namespaces for a polkit of our own: $refusal"
        exit 77
    fi
    exec env WAYFAR_PRIVATE_WORLD=1 unshare "${namespaces[@]}" "$0" "$@"
fi

world=$(mktemp -d /tmp/wayfar-polkit.XXXXXX)
trap 'rm -rf "$world"' EXIT
chmod 755 "$world"
mkdir "$world/bus" "$world/rules" "$world/home"
install -m 755 "$1" "$here/agent.py" "$world"
program=$world/$(basename "$1")
shift

cp -a /etc/passwd /etc/group /etc/shadow "$world"
printf '%s\n' "player:x:4001:4001::$world/home:/bin/sh" 'boss:x:4002:4002::/:/bin/sh' >>"$world/passwd"
echo 'player:x:4001:' >>"$world/group"
grep -q '^sudo:' "$world/group" || echo 'sudo:x:27:' >>"$world/group"
sed -i 's/^\(sudo:[^:]*:[^:]*:\).*/\1boss/' "$world/group"
printf '%s\n' 'player:*:19000:0:99999:7:::' "boss:$(openssl passwd -6 adminpw):19000:0:99999:7:::" >>"$world/shadow"
chown 4001:4001 "$world/home"
for file in passwd group shadow; do
    mount --bind "$world/$file" "/etc/$file"
done

cat >"$world/rules/00-test.rules" <<'END'
polkit.addRule(function (action) {
    var line = String(action.lookup("command_line"));
    if (line.indexOf("rule-yes") >= 0)
        return polkit.Result.YES;
    if (line.indexOf("rule-no") >= 0)
        return polkit.Result.NO;
});
END
chown -R polkitd "$world/rules"
mount --bind "$world/rules" /etc/polkit-1/rules.d

mkdir -p /run/dbus
mount --bind "$world/bus" /run/dbus
# Its address comes when it listens; nothing comes, and we end, when it can't.
read -r _ < <(dbus-daemon --system --nofork --nopidfile --print-address 2>"$world/bus.log")

status=0
setpriv --reuid=4001 --regid=4001 --init-groups env -i HOME="$world/home" PATH=/usr/bin:/bin LANG=C.UTF-8 \
    "$program" "$@" || status=$?
exit $status # the namespace takes the bus and polkit along
