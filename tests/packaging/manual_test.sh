#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: manual_test.sh PROGRAM FOLDER: each page in FOLDER renders without a warning of groff's or
# mandoc's, and the program's tells every option that its help tells.
set -euo pipefail
program=$1 folder=$2
failed=0
for page in "$folder"/*.[1-9]; do
  warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)
  warnings+=$(mandoc -Tlint "$page" || true)
  if [[ -n $warnings ]]; then
    printf '%s:\n%s\n' "$page" "$warnings"
    failed=1
  fi
done
text=$(MANWIDTH=500 man -l "$folder/landscape-validator.1" | col -bx)
mapfile -t options < <("$program" validate --help | grep -oE '^ +-[^ ]+' | tr -d ' ' | tr , '\n')
((${#options[@]} > 8)) || { echo "only ${#options[@]} options in the help"; failed=1; }
for option in "${options[@]}"; do
  grep -qE -- "^ +(.*, )?$option( |,|$)" <<<"$text" || { echo "not in the page: $option"; failed=1; }
done
echo "${#options[@]} options in the manual page"
exit "$failed"
