#!/bin/bash
# in-own-root.sh PROGRAM FILES...: runs the program as root in a copy of this whole machine, which goes with it: what it
# installs, changes and removes there is nowhere else. Copies of the files lie in its working folder; inside.sh tells what
# else there is. Ends with 77 where the kernel grants no such world.
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
cp "$(dirname "$0")/inside.sh" "$@" "$root/trial"
# Moved to the top before it is entered: the web engine gets no sandbox in a root that is only some folder.
cd "$root"
mount --move . /
exec chroot . /trial/inside.sh "$(basename "$1")"
