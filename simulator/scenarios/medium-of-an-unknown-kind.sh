# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kind of a medium is read from its mount directory: without "mmc" or "sd" in it the message names none.

controller_is_up
plug usb direct /media/card
medium_taken_up /media/card
must "the batch ends" within 60 batch_over
check "the message asks for a storage device" within 20 message_is other
unplug usb /media/card
given_back
