#!/bin/sh
# Replaces a program by the one on this medium and keeps the old one.
set -eu

program=/opt/zul/zul_version
new=/mnt/upgrade/zul_install/zul_version

cp -f "$new" "$program.new"
chmod 755 "$program.new"
if [ -e "$program" ]; then cp -pf "$program" "$program.old.new"; fi
sync # the contents of both are on the disk before anything is renamed
if [ -e "$program" ]; then mv -f "$program.old.new" "$program.old"; fi
mv -f "$program.new" "$program"
sync # and so are the names, before "Succeed" is shown
