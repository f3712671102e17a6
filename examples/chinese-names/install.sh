#!/bin/sh
# Installs the language packs: beside the old file first, then over it.
set -eu

cp -f /mnt/upgrade/languages.txt /opt/zul/languages.new
sync
mv -f /opt/zul/languages.new /opt/zul/languages.txt
sync
