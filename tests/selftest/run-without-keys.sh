#!/bin/sh
# run-without-keys.sh SELFTEST [EMULATOR...]: runs the self-test in a fresh
# working directory whose configuration lacks the log level and the spool
# path, prints what it prints and anything it leaves behind, and removes the
# folder.
selftest=$1
shift
dir=$(mktemp -d "${TMPDIR:-/tmp}/vemlo-selftest-keys-XXXXXX") || exit 1
mkdir -p "$dir/Vemlo/Conf"
printf '<FileProperty>\n<Base>\n<Log>\n<BackupRange>7</BackupRange>\n</Log>\n</Base>\n</FileProperty>\n' \
  >"$dir/Vemlo/Conf/default.config"
VEMLO_WORKING_DIRECTORY=$dir "$@" "$selftest"
status=$?
# The self-test removes what it writes.
left=$(cd "$dir" && find . -mindepth 1 ! -path ./Vemlo ! -path './Vemlo/Conf*')
[ -z "$left" ] || echo "left behind in the working directory:" $left
rm -rf "$dir"
exit $status
