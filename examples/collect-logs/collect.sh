#!/bin/sh
# Packs the controller's logs into a new file on the medium.
set -eu

medium=/mnt/upgrade
logs=/opt/zul/logs

number=1
while [ -e "$medium/logs-$number.tar.gz" ]; do
    number=$((number + 1))
done
tar -czf "$medium/logs-$number.tar.gz" -C "$logs" .
sync # the medium is pulled right afterwards
sync "$medium/logs-$number.tar.gz" # saved by its name: that empties a USB drive's own memory, too
