#!/bin/sh
# Writes what there is of the medium where the operator finds it afterwards.
set -eu

report=/mnt/upgrade/zul_results/report
find /mnt/upgrade/ -type f -printf '%m %P\n' | sort >"$report"
sync "$report"
mkdir -p /run/operations
echo report >>/run/operations/log
