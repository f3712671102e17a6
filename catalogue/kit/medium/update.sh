#!/bin/sh
# Installs a file: whole or not at all, whenever the power fails, and compared with what the disk gives back.
set -eu

mkdir -p /opt/zul
sh /mnt/upgrade/step -c -m 644 /mnt/upgrade/zul_install/example /opt/zul/example
