#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds everything, installing what is missing, and runs all tests. An argument names another
# preset (dev by default): asan, tsan. The browser tests of the report page run with dev only.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

preset=${1:-dev}
ensure_packages "${build_packages[@]}" "${test_packages[@]}"
build_preset "$preset"
ctest --preset "$preset"

# The page once, in a browser: its own tests, and then a report that the program has just written.
if [ "$preset" = dev ]; then
  command -v node >/dev/null && command -v npm >/dev/null || ensure_packages nodejs npm
  ensure_packages chromium
  report=$(mktemp -d)
  trap 'rm -rf "$report"' EXIT
  build/dev/bin/landscape-validator --fail-on never -o "$report" examples/faulty_landscape.xml >/dev/null
  NAX_REPORT_DIR=$report tests/browser/run.sh
  tests/formats/run.sh build/dev/bin/landscape-validator
fi
