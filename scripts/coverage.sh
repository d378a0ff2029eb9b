#!/bin/bash
# Reports how much of src/ the suite ran in a coverage build (GCC, --coverage)
# and fails below the floor in scripts/coverage-floor.txt.
#   scripts/coverage.sh BUILD_DIR
# Prints "coverage: lines L%, functions F%, branches B%" (branches without the
# compiler's exception edges and unreachable branches) and writes an HTML
# report to BUILD_DIR/report/index.html.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:?usage: coverage.sh BUILD_DIR}
mkdir -p "$dir/report"
# Only the library's own objects are read. Some test programs compile a part of
# src/ again (the XML test builds the scanner) or inline its private headers;
# gcov cannot mark the exception edges of lines such a copy never ran, so they
# would be counted as branches of the library that no test took.
objects="$dir/CMakeFiles/Vemlo.dir"
[ -d "$objects" ] || { echo "coverage: no library objects in $objects"; exit 1; }
if ! gcovr -r "$root" "$objects" --object-directory "$dir" --filter "$root/src/" \
    --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
    -j "${VEMLO_JOBS:-$(nproc)}" \
    --html-details "$dir/report/index.html" --json-summary "$dir/report/summary.json" \
    > "$dir/report/gcovr.log" 2>&1; then
    tail -n 20 "$dir/report/gcovr.log"
    echo "coverage: gcovr failed"
    exit 1
fi
python3 - "$dir/report/summary.json" "$root/scripts/coverage-floor.txt" <<'PY'
import json, sys
summary = json.load(open(sys.argv[1]))
got = {k: float(summary[k + "_percent"]) for k in ("line", "function", "branch")}
print("coverage: lines %.1f%%, functions %.1f%%, branches %.1f%%" %
      (got["line"], got["function"], got["branch"]))
floor = {}
for line in open(sys.argv[2]):
    line = line.split("#")[0].split()
    if len(line) == 2:
        floor[line[0]] = float(line[1])
low = ["%s %.1f%% < floor %.1f%%" % (k, got[k], v) for k, v in floor.items() if got[k] < v]
if low:
    print("coverage below its floor: " + "; ".join(low))
    sys.exit(1)
PY
