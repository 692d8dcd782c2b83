#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: hardening_test.sh PROGRAM LIBRARY HEADERS... [-- packaged]: reads the built files, not the
# options they were built with, for what makes faults harder to use. HEADERS are folders of exported
# headers: nothing else may be exported. Of packaged files also that no folder is built in.
set -euo pipefail
program=$1 library=$2
shift 2
headers=()
while [[ $# -gt 0 && $1 != -- ]]; do headers+=("$1"); shift; done
packaged=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0 passed=0

# holds FILE WHAT PATTERN / lacks FILE WHAT PATTERN: about what readelf said of it.
say() { failed=$((failed + 1)); echo "FAILED: $(basename "$1"): $2"; }
holds() { if grep -qE "$3" "$work/$(basename "$1")"; then passed=$((passed + 1)); else say "$1" "$2"; fi; }
lacks() { if grep -qE "$3" "$work/$(basename "$1")"; then say "$1" "$2"; else passed=$((passed + 1)); fi; }

for file in "$program" "$library"; do
  readelf -W -h -l -d --dyn-syms "$file" >"$work/$(basename "$file")"
  holds "$file" "is loaded anywhere" '^ +Type: +DYN'
  holds "$file" "tables become read-only" '^ +GNU_RELRO '
  holds "$file" "all symbols are bound at the start" 'FLAGS_1.*\bNOW\b|BIND_NOW'
  holds "$file" "says whether its stack holds code" '^ +GNU_STACK '
  lacks "$file" "no memory is both written and run" '^ +[A-Z_]+ .* R?WE +0x'
  lacks "$file" "code is not changed when loaded" 'TEXTREL'
  holds "$file" "stacks are guarded" ' __stack_chk_fail\b'
  holds "$file" "containers are checked" 'glibcxx_assert_fail'
  [[ -z $packaged ]] || lacks "$file" "no folder is built in" '\((RPATH|RUNPATH)\)'
done
holds "$program" "is a program that is loaded anywhere" 'FLAGS_1.*\bPIE\b'
holds "$library" "copies are checked" ' __[a-z]+_chk\b'

# Names that the headers export; inline code of the language is weak and of no concern.
grep -rhoE '(class|struct) NAXFEWXMLDB_EXPORT \w+|NAXFEWXMLDB_EXPORT [^;({]*[(;]' "${headers[@]}" |
  sed -E 's/ *[(;]$//; s/.*[^A-Za-z0-9_]//' | sort -u >"$work/names"
readelf -W --dyn-syms "$library" |
  awk '$7 != "UND" && $5 == "GLOBAL" && $4 != "NOTYPE" {sub(/@.*/, "", $8); print $8}' |
  c++filt >"$work/exported"
[[ $(wc -l <"$work/names") -gt 20 && $(wc -l <"$work/exported") -gt 100 ]] ||
  say "$library" "its exports can be read"
if grep -vwF -f "$work/names" "$work/exported" >"$work/unwanted"; then
  say "$library" "exports what no header does: $(head -n 5 "$work/unwanted")"
fi
echo "$((passed + 1)) checks of $(basename "$program") and $(basename "$library"), $failed failed"
[[ $failed -eq 0 ]]
