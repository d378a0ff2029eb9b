#!/bin/busybox sh
# /init of the system lane's ARM guest (see scripts/system-lane.sh). Reads its
# job from the kernel command line (vemlo.mode=suite|powercut|check,
# vemlo.rows=N), reports on the console in lines starting "@@VEMLO", and powers
# the guest off at the end. Every program it runs has a time limit.
/bin/busybox --install -s /bin
export PATH=/bin:/usr/bin
export HOME=/root TMPDIR=/tmp
mkdir -p /proc /sys /dev /tmp /root /mnt /var/log
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
# /tmp stays on the initramfs: the test programs sit at their build paths,
# which may be under /tmp.
mkdir -p /dev/shm && mount -t tmpfs shm /dev/shm
ifconfig lo 127.0.0.1 up
hostname vemlo-guest
for m in /lib/modules/vemlo/*.ko; do insmod "$m" 2> /dev/null; done

arg() { sed -n "s/.*vemlo\.$1=\([^ ]*\).*/\1/p" /proc/cmdline; }
mode=$(arg mode)
probe=$(cat /vemlo/probe)
ms() { awk '{ printf "%d\n", $1 * 1000 }' /proc/uptime; } # the monotonic clock, unlike date

# The system logger: busybox syslogd at /dev/log. The cases that read what
# syslog() sends (RESOURCE_LOCK syslog) bind /dev/log with their own sink and
# skip when a real logger holds it, so the daemon is stopped while they run.
syslogd_pid=
start_syslogd() { syslogd -n -O /var/log/messages & syslogd_pid=$!; sleep 1; }
stop_syslogd() {
    [ -n "$syslogd_pid" ] && kill "$syslogd_pid" && wait "$syslogd_pid" 2> /dev/null
    syslogd_pid=
    rm -f /dev/log
}

# t NAME TIMEOUT LOCK WORKDIR PASS FAIL COMMAND...: one CTest test, as ctest
# runs it. PASS and FAIL are the test's expressions for its output ("-" for
# none); with a PASS expression the exit status does not count, as in CTest.
t() {
    name=$1 limit=$2 lock=$3 dir=$4 pass=$5 fail=$6
    shift 6
    [ "$lock" = syslog ] && stop_syslogd
    begin=$(ms)
    (cd "$dir" && exec timeout -s KILL "$limit" "$@") > /tmp/test.out 2>&1
    rc=$?
    took=$(( $(ms) - begin ))
    if [ "$pass" != - ]; then
        grep -Eq -- "$pass" /tmp/test.out && rc=0 || rc=1
    fi
    if [ "$fail" != - ] && grep -Eq -- "$fail" /tmp/test.out; then
        rc=1
    fi
    if grep -q '\[  SKIPPED \]' /tmp/test.out; then
        echo "@@VEMLO SKIP $took $phase:$name $(grep -m1 -A1 'Skipped' /tmp/test.out | tail -n 1)"
    elif [ $rc -eq 0 ]; then
        echo "@@VEMLO PASS $took $phase:$name"
    else
        tail -n 60 /tmp/test.out
        echo "@@VEMLO FAIL $took $phase:$name exit $rc"
    fi
    [ "$lock" = syslog ] && start_syslogd
}

# skip NAME REASON: a test this guest cannot run.
skip() { echo "@@VEMLO SKIP 0 $phase:$1 $2"; }

# check NAME COMMAND...: one check of the lane itself (not a CTest test).
check() {
    name=$1
    shift
    if "$@" > /tmp/check.out 2>&1; then
        cat /tmp/check.out
        echo "@@VEMLO PASS 0 $phase:$name"
    else
        cat /tmp/check.out
        echo "@@VEMLO FAIL 0 $phase:$name"
    fi
}

case $mode in
suite)
    echo "@@VEMLO START $(uname -r) $(uname -m) cpus=$(grep -c ^processor /proc/cpuinfo)"
    phase=suite
    start_syslogd
    . /vemlo/suite.sh
    if [ -s /vemlo/suite.sh ]; then
        check syslogd-got-the-library-lines grep -q 'Vemlo' /var/log/messages
        echo "@@VEMLO NOTE syslogd wrote $(grep -c . /var/log/messages) lines"
    fi
    stop_syslogd
    # Past 2038: the clock 10 s before 2038-01-19 03:14:07 UTC, then a year on.
    for phase in y2038 y2039; do
        if [ $phase = y2038 ]; then when=2147483637; else when=$((2147483637 + 365 * 86400)); fi
        timeout -s KILL 10 $probe settime $when || echo "@@VEMLO FAIL 0 $phase:settime"
        # CTime against the clock, once a second across the rollover, while
        # the time-sensitive tests run.
        timeout -s KILL 60 $probe ctime 14 > /tmp/ctime.out 2>&1 & ctime_pid=$!
        . /vemlo/time.sh
        wait $ctime_pid
        ctime_rc=$?
        year=$(echo $phase | cut -c2-)
        check ctime-texts-follow-the-clock-$year sh -c "cat /tmp/ctime.out; test $ctime_rc -eq 0"
        check ctime-year-$year-past-03:14:07 grep -Eq "^CTIME $year-01-19 03:14:(0[89]|1[0-9]) .* same" /tmp/ctime.out
        check ctime-after-the-tests-$year sh -c "timeout -s KILL 60 $probe ctime 1 | grep '^CTIME $year-01-19 03:1[4-9].* same'"
    done
    ;;
powercut | check)
    mount -t ext4 /dev/vda /mnt || echo "@@VEMLO NOTE cannot mount /dev/vda"
    echo "@@VEMLO BOOTED"
    if [ "$mode" = check ]; then
        timeout -s KILL 120 $probe check /mnt "$(arg rows)"
    else
        $probe powercut /mnt "$(arg rows)" # until the host pulls the plug
    fi
    umount /mnt
    ;;
*) echo "@@VEMLO NOTE unknown mode '$mode'" ;;
esac
echo "@@VEMLO END"
sync
poweroff -f
