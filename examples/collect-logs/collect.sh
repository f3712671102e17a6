#!/bin/sh
# Packs the controller's logs into a new file on the medium.
set -eu

results=/mnt/upgrade/zul_results # the one folder that can be written to where only signed media are taken
logs=/opt/zul/logs

mkdir -p "$results"
number=1
while [ -e "$results/logs-$number.tar.gz" ]; do
    number=$((number + 1))
done
tar -czf "$results/logs-$number.tar.gz" -C "$logs" .
sync # the medium is pulled right afterwards
sync "$results/logs-$number.tar.gz" # saved by its name: that empties a USB drive's own memory, too
