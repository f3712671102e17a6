# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# In the sandbox and on the controller: no name, no path, no socket and no system call leads to this computer's reboot.

names="reboot halt poweroff shutdown init telinit systemctl"
look='for name in '$names' sync; do
    for path in $(echo "$PATH:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin" | tr : " "); do
        if [ -e "$path/$name" ] && ! cmp -s "$path/$name" /mnt/.zul-stand-ins/reboot; then echo "$path/$name"; fi
    done
    [ -x "/mnt/.zul-stand-ins/$name" ] || echo "no $name"
done
for path in /run/systemd/private /run/dbus/system_bus_socket /run/initctl /dev/initctl; do
    if [ -S "$path" ] || [ -p "$path" ]; then echo "$path"; fi
done
bounding=$(sed -n "s/^CapBnd:\t//p" /proc/self/status)
if [ $((0x$bounding >> 22 & 1)) -ne 0 ]; then echo "the system call"; fi'

check "in the sandbox" test -z "$(sh -c "$look")"
controller_is_up
check "on the controller" test -z "$(on_controller sh -c "$look")"
check "the controller's processes are its own" test "$(on_controller sh -c 'readlink /proc/self/ns/pid')" != "$(readlink /proc/self/ns/pid)"

for call in "/sbin/reboot now" "/bin/systemctl reboot" "telinit 6" "/usr/sbin/shutdown -r now" "poweroff" "/sbin/halt"; do
    on_controller bash -c "$call || true" 2>/dev/null
    program=${call%% *}
    must "\"$call\" is recorded" wait_for_log " stand-in +${program##*/}( |\$)" 10
done
