#!/bin/sh
# Notes on the medium when its settings were installed.
set -eu

mkdir -p /mnt/upgrade/zul_results
date >>/mnt/upgrade/zul_results/installed.log
sync
sync /mnt/upgrade/zul_results/installed.log # saved by its name: that empties a USB drive's own memory, too
