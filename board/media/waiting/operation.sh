#!/bin/sh
# Runs a command, but not before it is let go: how long an operation takes is then up to whoever lets it go, and not
# to the speed of a computer. Notes what has begun and ended in /run/operations/log.
#
# Usage: operation.sh NAME [COMMAND [ARGUMENT...]]      waits for the file /run/operations/NAME
{ # The shell reads up to the closing bracket before it runs anything: the medium may be pulled in between.
    name=$1
    shift
    mkdir -p /run/operations
    echo "$name begins" >>/run/operations/log
    until [ -e "/run/operations/$name" ]; do sleep 0.5; done
    "${@:-true}"
    code=$?
    echo "$name ends" >>/run/operations/log
    exit "$code"
}
