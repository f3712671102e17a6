#!/bin/sh
# Notes on the medium when its settings were installed.
set -eu

date >>/mnt/upgrade/installed.log
sync
sync /mnt/upgrade/installed.log # saved by its name: that empties a USB drive's own memory, too
