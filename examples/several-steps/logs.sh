#!/bin/sh
# Clears the controller's logs.
set -eu

cd /opt/zul
rm -rf logs
sync
