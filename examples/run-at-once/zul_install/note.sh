#!/bin/sh
# Notes on the medium when its settings were installed.
set -eu

date >>/mnt/upgrade/installed.log
sync
