#!/bin/sh
# Clears the controller's logs.
set -eu

rm -rf /opt/zul/logs
sync
