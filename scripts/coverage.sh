#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs all tests on a build that counts lines, and writes what they reach to build/coverage/report:
# index.html (each file, line by line), summary.json, unreached.txt (file:line of every line that no
# test reaches). Fails when less of the code is reached than docs/guarantees.md promises.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
ensure_packages "${build_packages[@]}" "${test_packages[@]}" "${coverage_packages[@]}"

promised=$(sed -n 's/^At least \([0-9]*\) % of the lines.*/\1/p' docs/guarantees.md)
build_preset coverage
find build/coverage -name '*.gcda' -delete
# The program writes its counters when it ends. Runs that are killed or short of disk and memory would
# destroy those of all others, so these tests are left out: what they reach is not counted. Whether
# tests pass is said by the other presets: here a few see the counters' files beside their own.
ctest --preset coverage --quiet --output-log build/coverage/tests.log \
  --exclude-regex '^(faults|kill|disk|memory_faults|install)_test$' || true

report=build/coverage/report
rm -rf "$report"
mkdir -p "$report"
gcovr --root . --filter 'src/' --filter 'tools/landscape_validator/' --filter 'include/' \
  --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
  -j "$(nproc)" --html-details "$report/index.html" --json-summary "$report/summary.json" \
  --json "$report/lines.json" --fail-under-line "$promised" --txt "$report/files.txt" build/coverage 2>"$report/gcovr.log"
python3 scripts/unreached_lines.py "$report/lines.json" >"$report/unreached.txt"
tail -n 4 "$report/files.txt"
echo "unreached: $(wc -l <"$report/unreached.txt") lines, in $report/unreached.txt"
