#!/bin/sh
# A mistake, for the replay of power cuts to find: the new name is on the disk before the contents. Over a file that is
# there, ext4 would write the contents first by itself; this name is new.
set -eu

cp -f /mnt/upgrade/settings /opt/zul/settings.kept.new
mv -f /opt/zul/settings.kept.new /opt/zul/settings.kept
sync /opt/zul
sync /opt/zul/settings.kept
