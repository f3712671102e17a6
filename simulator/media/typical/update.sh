#!/bin/sh
# Replaces the controller's version program by the one on this medium.
set -e
echo "before: $(/opt/zul/zul_version)"
cp -f /mnt/upgrade/zul_version /opt/zul/zul_version
echo "after:  $(/opt/zul/zul_version)"
