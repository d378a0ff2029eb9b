#!/bin/bash
# system-lane.sh ARM_BUILD OUT: the system lane of scripts/test.sh.
# Runs the arm lane's cross-built tests (ARM_BUILD, configured and built) on
# Debian 12's 32-bit ARM kernel in qemu-system-arm (virt, Cortex-A15, 2 CPUs,
# 512 MB), from an initramfs holding the armhf runtime, busybox and Python
# (all Debian armhf packages, unpacked), with busybox syslogd at /dev/log:
#   suite    every CTest test of ARM_BUILD, one guest process each, as ctest
#            runs them (ipc fixture, working directory, time limit, skip
#            pattern); what needs the host's tools is skipped with its reason
#   y2038    the clock set 10 s before 2038-01-19 03:14:07 UTC, the
#            time-sensitive tests run across the rollover, CTime checked
#            against the clock; y2039: the same a year later
#   powercut a writer updates the configuration, a plain-text property file
#            and a SQLite table on ext4 on a virtio disk, reporting each
#            commit; the guest is killed at a random instant and booted again
#            on the same disk, which must hold the old or the new files and
#            every row reported; VEMLO_POWER_CUTS times (default 20)
# VEMLO_SYSTEM_PHASES picks phases: "suite powercut" (the default; suite
# includes y2038 and y2039), or "time" for y2038 and y2039 alone. Ends with "system lane: N passed, M failed" (or "system lane:
# SKIPPED (reason)" when a package cannot be had). Every guest runs under a
# time limit and is killed at its end.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/deps.sh"
arm=$(cd "$1" && pwd)
out=$2
phases=${VEMLO_SYSTEM_PHASES:-suite powercut}
cuts=${VEMLO_POWER_CUTS:-20}
passed=0 failed=0 skipped=0
skipped_names=()
mkdir -p "$out"
out=$(cd "$out" && pwd)

skip_lane() { echo "system lane: SKIPPED ($*)"; exit 0; }

vemlo_need_packages "${VEMLO_SYSTEM_PACKAGES[@]}" ||
    skip_lane "cannot install ${VEMLO_SYSTEM_PACKAGES[*]}"
kernel_pkg=$(apt-cache depends linux-image-armmp:armhf 2> /dev/null |
    awk '/Depends: linux-image-[0-9]/ { sub(":armhf", "", $2); print $2; exit }')
[ -n "$kernel_pkg" ] || skip_lane "no armhf kernel package linux-image-armmp in the package lists"
debs=$out/debs
vemlo_armhf_unpack "$debs" "$kernel_pkg" "${VEMLO_SYSTEM_ARMHF_PACKAGES[@]}" ||
    skip_lane "cannot fetch the armhf packages $kernel_pkg ${VEMLO_SYSTEM_ARMHF_PACKAGES[*]}"
vmlinuz=$(ls "$debs"/boot/vmlinuz-* | head -n 1)
probe=$arm/tests/vemlo-system-probe
[ -x "$probe" ] || { echo "system lane: $probe not built"; echo "system lane: 0 passed, 1 failed"; exit 1; }

# make_root DIR [full]: the guest's root: busybox, the armhf runtime, the
# kernel modules for the virtio disk and ext4, the library and the probe at
# their build paths; "full" adds Python and every test program of ARM_BUILD.
make_root() {
    local dir=$1 full=${2:-}
    rm -rf "$dir"
    mkdir -p "$dir/bin" "$dir/etc" "$dir/vemlo" "$dir/lib/modules/vemlo"
    cp -a "$debs/lib" "$dir/"
    mkdir -p "$dir/usr/lib"
    cp -a "$debs/usr/lib/arm-linux-gnueabihf" "$dir/usr/lib/"
    rm -rf "$dir/lib/modules/"[0-9]*
    cp "$debs/bin/busybox" "$dir/bin/busybox"
    if [ "$full" = full ]; then
        cp -a "$debs/usr/lib/python3"* "$dir/usr/lib/"
        mkdir -p "$dir/usr/bin"
        cp -a "$debs/usr/bin/python3"* "$dir/usr/bin/"
        cp -a "$debs/etc/." "$dir/etc/"
    fi
    # ext4 and its helpers in load order, then the virtio transport and disk.
    local m
    local n=10
    for m in crc16 mbcache jbd2 crc32c_generic ext4 virtio_blk virtio_mmio; do
        cp "$(find "$debs/lib/modules" -name "$m.ko" | head -n 1)" "$dir/lib/modules/vemlo/$n-$m.ko"
        n=$((n + 1))
    done
    echo "127.0.0.1 localhost" > "$dir/etc/hosts"
    echo "root:x:0:0:root:/root:/bin/sh" > "$dir/etc/passwd"
    echo "root:x:0:" > "$dir/etc/group"
    install -m 755 "$root/scripts/system-init.sh" "$dir/init"
    local f
    for f in "$arm"/libVemlo.so* "$probe"; do
        mkdir -p "$dir$(dirname "$f")"
        cp -a "$f" "$dir$f"
    done
    arm-linux-gnueabihf-strip "$dir$probe" "$dir$(readlink -f "$arm/libVemlo.so")"
    ln -s "$probe" "$dir/bin/ipcmk"
    ln -s "$probe" "$dir/bin/ipcrm"
    # The ipc fixture's script, with awk for the comm that busybox lacks.
    sed 's/sort "$state" | comm -13 - "$now"/awk "NR == FNR { s[\\$0] = 1; next } !s[\\$0]" "$state" "$now"/' \
        "$root/tests/support/ipc-check.sh" > "$dir/vemlo/ipc-check.sh"
    mkdir -p "$dir/usr/bin"
    ln -sf /bin/busybox "$dir/usr/bin/sh" # the path CMake found sh at on the host
    echo "$probe" > "$dir/vemlo/probe"
}

# pack DIR FILE: DIR as a gzip'd newc cpio.
pack() { (cd "$1" && find . | cpio -o -H newc --quiet | gzip -1) > "$2"; }

# boot INITRD LOG LIMIT CMDLINE [qemu args...]: boots the guest in the
# background (the time limit's pid in $guest), serial console to LOG, killed
# after LIMIT s; pull_plug kills it at once.
boot() {
    local initrd=$1 log=$2 limit=$3 cmdline=$4
    shift 4
    rm -f "$out/qemu.pid"
    timeout -s KILL "$limit" qemu-system-arm -pidfile "$out/qemu.pid" -M virt -cpu cortex-a15 -m 512 -smp 2 -nographic \
        -nic none -no-reboot -kernel "$vmlinuz" -initrd "$initrd" \
        -append "console=ttyAMA0 rdinit=/init quiet panic=-1 $cmdline" "$@" < /dev/null > "$log" 2>&1 &
    guest=$!
}
pull_plug() {
    local pid
    for _ in 1 2 3 4 5 6 7 8 9 10; do [ -s "$out/qemu.pid" ] && break; sleep 0.1; done
    pid=$(cat "$out/qemu.pid" 2> /dev/null)
    [ -n "$pid" ] && kill -KILL "$pid" 2> /dev/null
    wait "$guest" 2> /dev/null
}

# count LOG: adds the guest's @@VEMLO results to the lane's counts.
count() {
    local log=$1 kind took name rest
    while read -r _ kind took name rest; do
        case $kind in
        PASS) passed=$((passed + 1)) ;;
        FAIL) failed=$((failed + 1)); echo "FAILED $name $rest" ;;
        SKIP) skipped=$((skipped + 1)); skipped_names+=("$name"); echo "skipped $name: $rest" ;;
        esac
    done < <(grep -a -E '^@@VEMLO (PASS|FAIL|SKIP) ' "$log" | tr -d '\r')
}

# ---- suite and time phases --------------------------------------------------
if [[ " $phases " == *" suite "* || " $phases " == *" time "* ]]; then
    [[ " $phases " == *" suite "* ]] && whole=1 || whole=0
    suite_root=$out/root-suite
    make_root "$suite_root" full
    # The test list from CTest, in the guest's shell: one "t" line a test,
    # emulator prefix dropped, programs and their data copied in at the same
    # paths, tests that need the host's tools turned into "skip" lines.
    if ! (cd "$arm" && ctest --show-only=json-v1) > "$out/tests.json" ||
        ! python3 - "$out/tests.json" "$suite_root" "$root" "$whole" << 'EOF'; then
import json, os, shlex, shutil, subprocess, sys

tests = json.load(open(sys.argv[1]))["tests"]
guest, source, whole = sys.argv[2], sys.argv[3], sys.argv[4] == "1"
# The programs whose cases depend on the clock, for the y2038/y2039 phases.
TIMED = {"CTimeTest", "FileLogTest", "LoggerTest", "ThreadTest", "ThreadMemoryRemoverTest",
         "EventHandlerTest", "EventHostThreadTest", "StateMachineTest", "SqliteTest",
         "PlaneTextPropertyTest", "XmlPropertyTest", "FilePropertyTest", "ConfigurationManagerTest"}
# What fails past 2038 because Debian 12's armhf userland keeps 32-bit time
# (its stat() of a file or /proc entry dated after 2038 fails with EOVERFLOW),
# not because of the library: skipped in the y2038/y2039 phases.
USERLAND_32BIT = {
    "SqliteTest": "Debian 12's armhf libsqlite3 has 32-bit time: a database written after 2038 "
                  "gives 'disk I/O error'",
    "ThreadMemoryRemoverTest": "busybox ps (32-bit time) lists no process started after 2038, so "
                               "framework channel names lose their '(process)' part",
    "FileLogTest.FrameworkChannelsCarryTheProcessNameFromPs": "busybox ps (32-bit time) lists no "
                                                              "process started after 2038",
    "PlaneTextPropertyTest.UpdateRewritesEveryEntryInTableOrder":
        "busybox mv (32-bit time) cannot stat a file written after 2038, so 'mv -f' fails",
    "FilePropertyTest.UpdateReplacesTheFileBehindALinkAndKeepsItsMode":
        "busybox mv (32-bit time) cannot stat a file written after 2038, so the plain-text "
        "format's 'mv -f' fails",
}
# The load test sized for native speed: under full-system emulation it needs
# minutes (100000 events), past its own deadline. The other lanes run it.
NATIVE_SPEED = {
    "EventHandlerLoadTest.EveryMessageToAnActiveHostArrivesOnceAndInOrder":
        "100000 events take minutes under full-system emulation, past the case's own deadline "
        "(the other lanes run it)",
}
HOST_ONLY = {"install": "builds with CMake and the cross compiler, which the guest lacks "
                        "(the arm lane runs it)"}


def copy_in(path):
    target = guest + path
    if os.path.exists(target):
        return
    os.makedirs(os.path.dirname(target), exist_ok=True)
    shutil.copy2(path, target)
    with open(path, "rb") as f:
        if f.read(4) == b"\x7fELF":
            subprocess.run(["arm-linux-gnueabihf-strip", target], check=True)


suite, timed = [], []
for test in sorted(tests, key=lambda t: {"ipc.baseline": 0, "ipc.nothing_left": 2}.get(t["name"], 1)):
    name = test["name"]
    if "command" not in test:  # a program not built
        continue
    props = {p["name"]: p["value"] for p in test.get("properties", [])}
    command = list(test["command"])
    labels = props.get("LABELS", [])
    reason = next((HOST_ONLY[l] for l in labels if l in HOST_ONLY), NATIVE_SPEED.get(name))
    if reason:
        if whole:
            suite.append("skip %s %s" % (shlex.quote(name), shlex.quote(reason)))
        if name.split(".")[0] in TIMED:
            timed.append("skip %s %s" % (shlex.quote(name), shlex.quote(reason)))
        continue
    # Drop the user-mode emulator: "qemu-arm -L DIR -E VAR=VALUE program..."
    # in front, or the arguments that pass it to a driver script.
    emulator = [i for i, a in enumerate(command) if os.path.basename(a) == "qemu-arm"]
    if emulator and emulator[0] == 0:
        command = command[1:]
        while command and command[0] in ("-L", "-E"):
            command = command[2:]
    elif emulator:
        command = command[:emulator[0]]
    if os.path.basename(command[0]).startswith("python3"):
        command[0] = "/usr/bin/python3"
    for arg in command:
        if os.path.isfile(arg) and arg.startswith(source + "/"):
            copy_in(arg)
    for arg in command:
        if arg.endswith(".py") and os.path.isfile(arg):
            for support in os.listdir(os.path.dirname(arg)):
                if support.endswith((".py", ".sh")):
                    copy_in(os.path.join(os.path.dirname(arg), support))
    if name.startswith("ipc."):
        command = ["/bin/sh", "/vemlo/ipc-check.sh"] + command[2:]
    workdir = props.get("WORKING_DIRECTORY", "/")
    os.makedirs(guest + workdir, exist_ok=True)
    env = ["env"] + props.get("ENVIRONMENT", []) if props.get("ENVIRONMENT") else []
    locks = props.get("RESOURCE_LOCK", [])
    # CTest's pass and fail expressions, as one-line extended expressions
    # for grep: a newline at either end anchors the line.
    def expression(key):
        values = props.get(key) or []
        if isinstance(values, str):
            values = [values]
        if not values:
            return "-"
        return "|".join("%s%s%s" % ("^" if v.startswith("\n") else "", v.strip("\n"),
                                    "$" if v.endswith("\n") else "") for v in values)
    line = "t %s %d %s %s %s %s %s" % (shlex.quote(name), int(props.get("TIMEOUT", 1500)),
                                        "syslog" if "syslog" in locks else "-", shlex.quote(workdir),
                                        shlex.quote(expression("PASS_REGULAR_EXPRESSION")),
                                        shlex.quote(expression("FAIL_REGULAR_EXPRESSION")),
                                        " ".join(shlex.quote(a) for a in env + command))
    if whole:
        suite.append(line)
    if name.split(".")[0] in TIMED:
        why = USERLAND_32BIT.get(name, USERLAND_32BIT.get(name.split(".")[0]))
        timed.append("skip %s %s" % (shlex.quote(name), shlex.quote(why)) if why else line)
with open(guest + "/vemlo/suite.sh", "w") as f:
    f.write("\n".join(suite) + "\n")
with open(guest + "/vemlo/time.sh", "w") as f:
    f.write("\n".join(timed) + "\n")
EOF
        echo "system lane: cannot list the arm build's tests"
        failed=$((failed + 1))
    else
        # The test programs find libVemlo through their build path; the
        # support files of the Python peers are in the source tree.
        cp -a "$root/tests/support/." "$suite_root$root/tests/support/" 2> /dev/null || true
        pack "$suite_root" "$out/suite.cpio.gz"
        echo "=== system lane: the suite on $(basename "$vmlinuz") (initramfs $(du -m "$out/suite.cpio.gz" | cut -f1) MB)"
        begin=$(date +%s)
        boot "$out/suite.cpio.gz" "$out/suite.log" 1500 "vemlo.mode=suite"
        # Progress as it comes, without the guest's own noise.
        tail -n +1 -f "$out/suite.log" --pid "$guest" 2> /dev/null | grep -a --line-buffered -E '^@@VEMLO (FAIL|SKIP|START|NOTE)|^CTIME' &
        wait "$guest"
        sleep 0.2
        count "$out/suite.log"
        grep -aq '^@@VEMLO END' "$out/suite.log" || {
            echo "system lane: the guest did not finish the suite (see $out/suite.log)"
            failed=$((failed + 1))
        }
        echo "system lane: suite and time phases took $(( $(date +%s) - begin )) s"
    fi
fi

# ---- power cuts ---------------------------------------------------------------
if [[ " $phases " == *" powercut "* ]]; then
    small_root=$out/root-small
    make_root "$small_root"
    pack "$small_root" "$out/small.cpio.gz"
    disk=$out/disk.img
    rm -f "$disk"
    truncate -s 64M "$disk"
    mkfs.ext4 -F -q "$disk"
    echo "=== system lane: $cuts power cuts on ext4 on a virtio disk"
    begin=$(date +%s)
    cfg=0 txt=0 rows=0 cut=0 lost_config=0 lost_rows=0
    # judge LOG: compares the STATE line of a boot with what was reported
    # before the cut; then takes the last commits this boot reported.
    judge() {
        local log=$1 state c t r integrity
        state=$(grep -a -m1 '^STATE ' "$log" | tr -d '\r')
        if [ -z "$state" ] && ! grep -aq '^@@VEMLO BOOTED' "$log"; then
            echo "power cut $cut: the guest did not come up (see $log)"
            failed=$((failed + 1))
            return
        elif [ -z "$state" ]; then
            echo "power cut $cut: no state after boot (see $log)"
            lost_config=$((lost_config + 1))
            return
        fi
        c=$(echo "$state" | sed -E 's/.* cfg=(-?[0-9]+).*/\1/')
        t=$(echo "$state" | sed -E 's/.* txt=(-?[0-9]+).*/\1/')
        r=$(echo "$state" | sed -E 's/.* rows=(-?[0-9]+).*/\1/')
        integrity=$(echo "$state" | sed -E 's/.* integrity=//')
        if [ "$c" -ne "$cfg" ] && [ "$c" -ne $((cfg + 1)) ]; then
            echo "power cut $cut: configuration holds $c, expected $cfg or $((cfg + 1))"
            lost_config=$((lost_config + 1))
        elif [ "$t" -ne "$txt" ] && [ "$t" -ne $((txt + 1)) ]; then
            echo "power cut $cut: plain-text property file holds $t, expected $txt or $((txt + 1))"
            lost_config=$((lost_config + 1))
        fi
        if [ "$r" -ne "$rows" ] || [ "$integrity" != ok ]; then
            echo "power cut $cut: $r of the $rows rows reported committed are there (integrity: $integrity)"
            lost_rows=$((lost_rows + 1))
            rows=$r # each loss counted once
        fi
        # A newer file or row than reported (written, then cut before the
        # report) is the new value: the check goes on from there.
        cfg=$c txt=$t
        local last
        last=$(grep -a '^CFG ' "$log" | tail -n 1 | tr -d '\r' | cut -d' ' -f2)
        [ -n "$last" ] && cfg=$last
        last=$(grep -a '^TXT ' "$log" | tail -n 1 | tr -d '\r' | cut -d' ' -f2)
        [ -n "$last" ] && txt=$last
        last=$(grep -a '^ROW ' "$log" | tail -n 1 | tr -d '\r' | cut -d' ' -f2)
        [ -n "$last" ] && rows=$last
    }
    for ((i = 0; i <= cuts; i++)); do
        log=$out/powercut-$i.log
        cut=$i
        if [ "$i" -lt "$cuts" ]; then
            boot "$out/small.cpio.gz" "$log" 120 "vemlo.mode=powercut vemlo.rows=$rows" \
                -drive "file=$disk,format=raw,if=none,id=d0" -device virtio-blk-device,drive=d0
            # Pull the plug at a random instant once the writer is writing.
            for ((w = 0; w < 600; w++)); do
                grep -aqs '^WRITING' "$log" && break
                kill -0 "$guest" 2> /dev/null || break
                sleep 0.1
            done
            sleep "$(printf '%d.%03d' $((RANDOM % 2)) $((RANDOM % 1000)))"
            pull_plug
        else
            boot "$out/small.cpio.gz" "$log" 120 "vemlo.mode=check vemlo.rows=$rows" \
                -drive "file=$disk,format=raw,if=none,id=d0" -device virtio-blk-device,drive=d0
            wait "$guest"
        fi
        if [ "$i" -eq 0 ] && ! grep -aq '^WRITING' "$log"; then
            echo "power cuts: the writer did not start (see $log)"
            lost_config=$((lost_config + 1))
            break
        fi
        judge "$log"
    done
    if e2fsck -fn "$disk" > "$out/e2fsck.log" 2>&1; then
        echo "power cuts: the file system is clean after the last boot"
    else
        echo "power cuts: e2fsck finds the file system damaged (see $out/e2fsck.log)"
        failed=$((failed + 1))
    fi
    echo "power cuts: $cuts, configuration lost: $lost_config, committed rows lost: $lost_rows" \
        "(last: configuration update $cfg, row $rows; $(( $(date +%s) - begin )) s)"
    if [ $((lost_config + lost_rows)) -eq 0 ]; then
        passed=$((passed + 1))
    else
        failed=$((failed + lost_config + lost_rows))
    fi
fi

[ "$skipped" -gt 0 ] && echo "system lane: $skipped skipped: ${skipped_names[*]}"
echo "system lane: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
