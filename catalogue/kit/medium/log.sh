#!/bin/sh
# Notes on the medium how much room the controller's disks have.
set -eu

log=/mnt/upgrade/zul_results/disks.log
df >"$log"
sync
sync "$log" # by its name: that empties a USB drive's own memory, too
