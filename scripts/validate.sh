#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the validator, installing what is missing, and runs it with the arguments given; without
# arguments on the two example landscapes. Ends as the validator ends: 0 clean, 1 findings, 2 failed.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/packages.sh"

ensure_packages "${build_packages[@]}" || exit 2
(cd "$root" && build_preset release landscape-validator) || exit 2
if [ $# -eq 0 ]; then
  cd "$root"
  set -- examples/clean_landscape.xml examples/faulty_landscape.xml
fi
exec "$root/build/release/bin/landscape-validator" "$@"
