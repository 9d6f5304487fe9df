# shellcheck shell=bash disable=SC2154
# The emulated machine's first process, behind the lines that set $machine, $writable, $user and $group. Nothing is
# written before the root folder cannot be; if this fails the kernel ends, and the machine with it.
set -euo pipefail
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t tmpfs run /run
for at in "${!writable[@]}"; do
    mkdir "/run/$at"
    mount --bind "${writable[at]}" "/run/$at"
done
mount -o remount,bind,ro /
mount -t devtmpfs dev /dev
mkdir -p /dev/pts /dev/shm
mount -t devpts pts /dev/pts
mount -t tmpfs -o mode=1777 shm /dev/shm
for link in fd:fd stdin:fd/0 stdout:fd/1 stderr:fd/2; do ln -sf "/proc/self/${link#*:}" "/dev/${link%:*}"; done
mount -t tmpfs -o mode=1777 tmp /tmp
for at in "${!writable[@]}"; do
    mkdir -p "${writable[at]}"
    mount --bind "/run/$at" "${writable[at]}"
done
setpriv --reuid "$user" --regid "$group" --clear-groups \
    bash -c 'code=0; bash "$1/command" || code=$?; echo "$code" >"$1/code"' first "$machine" \
    </dev/null >"$(echo /dev/vport*p1)" 2>"$(echo /dev/vport*p2)"
sync
echo o >/proc/sysrq-trigger
sleep 60
