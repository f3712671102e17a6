#!/bin/sh
# Adds a line to the settings. Run twice it would be there twice, so it is run only once on each controller.
set -eu

settings=/opt/zul/settings
if [ -e "$settings" ]; then cp -pf "$settings" "$settings.new"; fi
echo "brightness=60" >>"$settings.new"
sync # the contents are on the disk before the name is
mv -f "$settings.new" "$settings"
sync
