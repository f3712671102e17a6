#!/bin/sh
# Replaces a program: the old one or the new one is there, whenever the power fails.
set -eu

sh /mnt/upgrade/step -c -m 755 /mnt/upgrade/zul_install/zul_version /opt/zul/zul_version
