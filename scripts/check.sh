#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks format and clang-tidy; --fix formats instead. Files are checked side by side.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
ensure_packages "${build_packages[@]}" "${test_packages[@]}" "${check_packages[@]}"

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
if [ "${1:-}" = --fix ]; then
  clang-format -i "${sources[@]}"
  exit 0
fi
clang-format --dry-run --Werror "${sources[@]}"

[ -f build/dev/compile_commands.json ] || cmake --preset dev >/dev/null
mapfile -t units < <(git ls-files 'src/*.cpp' 'tools/*.cpp' 'bench/*.cpp')
printf '%s\0' "${units[@]}" |
  xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build/dev --quiet --warnings-as-errors='*' 2>/dev/null
echo "format and clang-tidy: ${#sources[@]} files formatted, ${#units[@]} units clean"
