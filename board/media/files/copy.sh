#!/bin/sh
# Puts a file of this medium into the place of the controller's own, in the way that survives a power cut: beside it
# first, then over it. Tells every step on the serial line, where it is seen even when nothing is left of the rest.
#
# Usage: copy.sh NUMBER
set -e
tell() { echo "step $1" >/dev/ttyAMA0; }

mkdir -p /opt/zul/data
tell "$1 begins"
cp /mnt/upgrade/payload "/opt/zul/data/$1.new"
cat /proc/sys/kernel/random/uuid >>"/opt/zul/data/$1.new" # so that no two copies are alike
sum=$(md5sum <"/opt/zul/data/$1.new")
tell "$1 copied"
sync
mv "/opt/zul/data/$1.new" "/opt/zul/data/$1"
sync
tell "$1 durable ${sum%% *}"
