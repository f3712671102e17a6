#!/bin/sh
# Starts by its name what the card has among its results.
exec /mnt/upgrade/zul_results/unsigned
