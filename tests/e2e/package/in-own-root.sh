#!/bin/bash
# in-own-root.sh PROGRAM FILES...: runs the program as root in a copy of this whole machine, which goes with it: what it
# installs, changes and removes there is nowhere else. Copies of the files lie in its working folder. In that world
#   - "player" (4001) has a home, and polkit lets everybody do everything,
#   - the network is loopback alone, where the vendor's hosts lead, and $DISPLAY is a screen of its own,
#   - /changed shows what differs from the machine.
# Ends with 77 where the kernel grants no such world.
set -e
refused() {
    echo "SKIP: no root of our own: $*"
    exit 77
}
if [ -z "$WAYFAR_OWN_ROOT" ]; then
    namespaces=(--mount --pid --net --fork --kill-child --propagation private)
    refusal=$(unshare "${namespaces[@]}" true 2>&1) || refused "$refusal"
    WAYFAR_OWN_ROOT=$(mktemp -d)
    export WAYFAR_OWN_ROOT
    trap 'rmdir "$WAYFAR_OWN_ROOT"' EXIT
    unshare "${namespaces[@]}" "$0" "$@"
    exit # with its status
fi

layers=$WAYFAR_OWN_ROOT
mount -t tmpfs -o mode=755 none "$layers"
mkdir "$layers/upper" "$layers/work" "$layers/root"
root=$layers/root
refusal=$(mount -t overlay none -o "lowerdir=/,upperdir=$layers/upper,workdir=$layers/work" "$root" 2>&1) ||
    refused "$refusal"
[ -x "$root/usr/bin/dpkg" ] || refused "the machine is spread over several file systems"
mkdir "$root/changed" "$root/trial"
mount --bind "$layers/upper" "$root/changed"
mount --rbind /dev "$root/dev"
mount --rbind /sys "$root/sys"
mount -t proc proc "$root/proc"
mount -t tmpfs -o mode=1777 none "$root/tmp"
cp "$@" "$root/trial"
cd "$root"
pivot_root . mnt # and not chroot, in which the web engine gets no sandbox
umount -l /mnt

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

cd /trial
status=0
"./$(basename "$1")" || status=$?
exit $status # the namespace takes the rest along
