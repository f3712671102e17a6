#!/bin/sh
# Sets the language of the upgrade tool, for the time from the next start on. Usage: sh set.sh CODE
set -eu

language=$1
settings=$(readlink -f /etc/default/zul_upgrade) # the file itself, where a link leads to it

# A language that this controller does not have would be English after all.
if [ "$language" != en ]; then test -f "/usr/share/zul-upgrade/translations/$language.qm"; fi

cp -pf "$settings" "$settings.new" # with its owner and its mode
if grep -q '^ZUL_LANGUAGE=' "$settings"; then
    sed "s/^ZUL_LANGUAGE=.*/ZUL_LANGUAGE=$language/" "$settings" >"$settings.new"
else
    if [ -n "$(tail -c 1 "$settings")" ]; then echo >>"$settings.new"; fi # its last line has no end
    echo "ZUL_LANGUAGE=$language" >>"$settings.new"
fi
sync # the contents are on the disk before the name is
mv -f "$settings.new" "$settings"
sync # and so is the name, before "Succeed" is shown
