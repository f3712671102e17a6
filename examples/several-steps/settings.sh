#!/bin/sh
# Puts the settings back that the controller came with, and drops what was made from the others.
set -eu

cd /opt/zul
cp -f settings.old settings.new
sync
mv -f settings.new settings
if [ -d cache ]; then
    find cache -type f -exec rm -f {} +
fi
sync
