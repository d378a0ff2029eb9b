#!/bin/sh
# ipc-check.sh baseline FILE | check FILE
# baseline: uses up System V semaphore id 0 (the first set a fresh IPC
# namespace hands out; CCriticalSection never removes id 0), then records
# which semaphore sets and shared-memory segments exist.
# check: fails, naming them, if sets or segments exist now that did not then.
set -eu
mode=$1 state=$2
ids() { awk 'NR > 1 { print $2 }' "/proc/sysvipc/$1" | sort; }
case $mode in
baseline)
    # A set created and removed at once; if it got id 0, id 0 is used up.
    id=$(ipcmk -S 1 | awk '{ print $NF }')
    ipcrm -s "$id"
    { ids sem | sed 's/^/sem /'; ids shm | sed 's/^/shm /'; } > "$state"
    echo "baseline: $(grep -c '^sem' "$state" || true) semaphore set(s), $(grep -c '^shm' "$state" || true) segment(s)"
    ;;
check)
    now=$(mktemp)
    { ids sem | sed 's/^/sem /'; ids shm | sed 's/^/shm /'; } | sort > "$now"
    left=$(sort "$state" | comm -13 - "$now")
    rm -f "$now"
    if [ -n "$left" ]; then
        echo "System V objects left behind by the suite:"
        echo "$left"
        exit 1
    fi
    echo "no System V semaphore set or segment left behind"
    ;;
*) echo "usage: $0 baseline|check FILE" >&2; exit 2 ;;
esac
