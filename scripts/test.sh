#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds everything, installing what is missing, and runs all tests. An argument names another
# preset (dev by default): asan, tsan.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

preset=${1:-dev}
ensure_packages "${build_packages[@]}" "${test_packages[@]}"
build_preset "$preset"
ctest --preset "$preset"
