# shellcheck shell=sh
# Goes on as the guest's first process on its final root: runs the case and switches off.
export PATH=/usr/local/bin:/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin HOME=/root LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY
# shellcheck source=/dev/null
. /exchange/environment
cd /tmp || exit
chmod 755 /run
busybox ip link set lo up
/bin/bash "$KIVO_GUEST/case.sh" >/exchange/output 2>&1 </dev/null
echo $? >/exchange/status
sync
busybox poweroff -f
