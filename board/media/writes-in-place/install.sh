#!/bin/sh
# A mistake, for the replay of power cuts to find: the old file is gone before the new one is there.
set -eu

cp -f /mnt/upgrade/settings /opt/zul/settings.old
sync
