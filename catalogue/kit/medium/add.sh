#!/bin/sh
# Adds a line to a file. Run twice it would be there twice, so it is run only once on each controller.
set -eu

mkdir -p /opt/zul
cat /opt/zul/example.settings >/opt/zul/example.settings.new 2>/dev/null || true
echo "brightness=60" >>/opt/zul/example.settings.new
sync # the contents are on the disk before the name is
mv -f /opt/zul/example.settings.new /opt/zul/example.settings
sync
