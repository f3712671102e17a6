# shellcheck shell=bash
# Nobody touches the screen: after five minutes the controller restarts by itself.

controller_is_up
plug sd typical
medium_taken_up /media/mmcblk1p1
must "the countdown is shown" within 10 countdown_shown
must "reboot is called" wait_for_log ' stand-in +reboot$' 320
must "the tool ends" wait_for_log ' simulator +zul_upgrade ended with exit code 0$' 10
seconds=$((($(time_of ' stand-in +reboot$') - $(time_of ' watchdog +received syscmd_suspend@600')) / 10))
echo "reboot came after $seconds seconds"
check "it took 302 ticks of a second" test "$seconds" -ge 301 -a "$seconds" -le 305
check "no operation ran" fails logged ' tool +#+ '
must "the controller restarts" wait_for_log ' simulator +the controller is off' 20
