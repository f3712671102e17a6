#!/bin/sh
# Copies the kernel's log to the medium, also when a step has failed before.
set -eu

log=/mnt/upgrade/zul_results/kernel.log
dmesg >"$log" || echo "no log can be had" >"$log"
sync
sync "$log" # saved by its name: that empties a USB drive's own memory, too
