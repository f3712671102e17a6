# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A command gets three open files, and of signals and variables what the service has given the tool.

medium=$(mktemp -d /mnt/medium-XXXXXX)
mkdir "$medium/zul_install"
cat >"$medium/zul_install/system.ini" <<'INI'
[system]
CMD_Type="look"

[CMD]
look=Look@sh /mnt/upgrade/zul_install/look.sh
INI
# A shell makes the list by itself, because the list of a program's files would have the list itself in it.
cat >"$medium/zul_install/look.sh" <<'SH'
for file in /proc/$$/fd/*; do
    if [ -e "$file" ]; then echo "${file##*/} $(readlink "$file")"; fi
done >/tmp/files
sed -n 's/^SigBlk:\t//p' /proc/self/status >/tmp/blocked
sed -n 's/^SigIgn:\t//p' /proc/self/status /proc/$PPID/status >/tmp/ignored
tr '\0' '\n' </proc/$PPID/environ | sort >/tmp/tools
tr '\0' '\n' </proc/$$/environ | sort >/tmp/commands
SH

# What was open before there was a tool is none of its files; whoever runs the tests may have left some.
given=$(for file in "/proc/$$/fd/"*; do readlink "$file" || true; done)
controller_is_up
plug sd "$medium"
must "the command runs" within 60 command_started Look
must "it has looked" within 30 on_controller test -s /tmp/commands

# 10 and above: the script that the shell itself reads.
others=$(on_controller sed -nE '/^[0-9] /{/^[012] /!s/^[0-9] //p}' /tmp/files | grep -vxF "$given" || true)
check "no file of the tool's is open in it: $others" test -z "$others"
check "it has the usual three" test "$(on_controller sed -nE 's/^([012]) .*/\1/p' /tmp/files | tr -d '\n')" = 012
check "no signal is blocked" on_controller grep -qx '0*' /tmp/blocked
mapfile -t ignored < <(on_controller cat /tmp/ignored)
pipe=$((1 << 12)) # what Qt makes a program ignore as soon as it writes to another one
check "what it ignores the tool was given" test $((0x${ignored[0]})) -eq $((0x${ignored[1]} & ~pipe))
check "its variables are the tool's own" on_controller cmp /tmp/tools /tmp/commands
