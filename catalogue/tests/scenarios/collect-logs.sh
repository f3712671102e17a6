# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # state, build: controller-isolated.sh
# The logs are on the medium, saved, and the controller goes on; also where it takes signed media only.

controller_is_up
on_controller sh -c 'mkdir -p /opt/zul/logs && echo "a line" >/opt/zul/logs/app.log'
plug usb "${examples:?}/collect-logs"
medium_taken_up /media/sda1
choose 1
confirm_choice
must "the batch ends" within 60 batch_over
check "the medium has the logs" \
    test "$(on_controller tar -xzOf /media/sda1/zul_results/logs-1.tar.gz ./app.log)" = "a line"
check "the script has saved them" within 10 logged_times 1 ' stand-in +sync$'
check "the message asks for the USB drive" within 20 message_is usb
unplug usb
given_back

signed=$state/devices/sda1
mkdir -p "$state/devices" "$state/run" "$state/keys.d"
cp -r "${examples:?}/collect-logs" "$signed"
openssl genpkey -algorithm ed25519 -out "$state/owner.pem"
openssl pkey -in "$state/owner.pem" -pubout -out "$state/keys.d/owner.pub.pem"
printf 'Signature=required\nFreeMemory=0\nResults=yes\n' >"$state/media.conf"
must "it is signed" "$build/catalogue/zul_catalogue" sign "$signed" --key "$state/owner.pem"
must "it is accepted" zul_media mount sda1
medium_taken_up /media/sda1
choose 1
confirm_choice
must "the batch of the signed one ends" within 60 batch_over
must "the signed medium has the logs" within 10 test -s "$signed/zul_results/logs-1.tar.gz"
check "and they are whole" test "$(tar -xzOf "$signed/zul_results/logs-1.tar.gz" ./app.log)" = "a line"
check "nothing else was written to it" test "$(cd "$signed" && echo *)" = "README.md collect.sh zul_install zul_results"
must "it is pulled" zul_media unmount sda1
given_back
check "nothing was restarted" fails logged ' stand-in +reboot'
