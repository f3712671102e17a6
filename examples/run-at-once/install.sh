#!/bin/sh
# Installs the settings: beside the old ones first, then over them.
set -eu

cp -f /mnt/upgrade/settings /opt/zul/settings.new
sync
mv -f /opt/zul/settings.new /opt/zul/settings
sync
