#!/bin/sh
# Copies the kernel's log to the medium.
set -eu

dmesg >/mnt/upgrade/zul_results/kernel.log
sync
sync /mnt/upgrade/zul_results/kernel.log # by its name: that empties a USB drive's own memory, too
