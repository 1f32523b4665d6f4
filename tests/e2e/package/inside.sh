#!/bin/bash
# inside.sh PROGRAM: what in-own-root.sh starts in the copy of the machine. There
#   - "player" (4001) has a home, and polkit lets everybody do everything,
#   - the network is loopback alone, where the vendor's hosts lead, and $DISPLAY is a screen of its own,
#   - /changed shows what differs from the machine.
set -e
echo 'player:x:4001:4001::/home/player:/bin/sh' >>/etc/passwd
echo 'player:x:4001:' >>/etc/group
mkdir -p /home/player /run/user/4001
chown 4001:4001 /home/player
mount -t tmpfs -o mode=700,uid=4001,gid=4001 none /run/user/4001
echo '127.0.0.1 localhost wayfar.example www.wayfar.example download.wayfar.example' >/etc/hosts
ip link set lo up

echo 'polkit.addRule(function () { return polkit.Result.YES; });' >/etc/polkit-1/rules.d/00-trial.rules
chown -R polkitd /etc/polkit-1/rules.d
mkdir -p /run/dbus
rm -f /run/dbus/system_bus_socket
# Each says when it listens; nothing comes, and we end, when it can't.
read -r _ < <(dbus-daemon --system --nofork --nopidfile --print-address)
# The screen stays when its last client, which may be a tool of the test, has gone.
read -r screen < <(exec Xvfb -displayfd 1 -ac -noreset -screen 0 1280x960x24 2>/dev/null)
export DISPLAY=:$screen

# On a machine that is itself some folder, no user gets the namespaces that the web engine's sandbox is made of.
unset QTWEBENGINE_DISABLE_SANDBOX
setpriv --reuid=4001 --regid=4001 --clear-groups unshare --user true 2>/dev/null || export QTWEBENGINE_DISABLE_SANDBOX=1

cd /trial
status=0
"./$1" || status=$?
exit $status # the namespace takes the rest along
