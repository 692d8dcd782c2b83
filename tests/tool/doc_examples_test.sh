#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs a page's examples: each ```xml block is the file that the line before it names, and each "$"
# line of a ```console block is run; the lines below it must be in what it prints, in their order.
set -u
tool=$1
page=$2
examples=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$examples"/*.xml "$work" && cd "$work" || exit 1
ran=0
failed=0

landscape-validator() { "$tool" "$@"; }

# Takes the output of the last command past the first line that is, or contains, the text.
expect() {
  local rest
  if rest=$(grep -n -m1 -F -- "$1" rest.txt); then
    tail -n "+$((${rest%%:*} + 1))" rest.txt >next.txt && mv next.txt rest.txt
  else
    failed=$((failed + 1))
    printf 'FAILED: %s\n  wanted "%s", got:\n' "$command" "$1"
    sed 's/^/  /' out.txt
  fi
}

block=
command=
named=
files=0
while IFS= read -r line; do
  case $block:$line in
    ':```xml') block=xml named=$name && files=$((files + 1)) && : >"$named" ;;
    ':```console') block=console ;;
    ':```'*) block=other ;;
    *':```')
      # What the page shows is what the examples folder holds.
      if [ "$block" = xml ] && ! cmp "$named" "$examples/rules/$named"; then
        failed=$((failed + 1))
      fi
      block=
      ;;
    xml:*) printf '%s\n' "$line" >>"$named" ;;
    'console:$ '*)
      command=${line#'$ '}
      eval "$command" >out.txt 2>&1 </dev/null
      cp out.txt rest.txt
      ran=$((ran + 1))
      ;;
    console:*) expect "$line" ;;
    :*'`:') name=${line%'`:'} && name=${name##*'`'} ;;
  esac
done <"$page"
echo "$files files, $ran commands, $failed failed"
[ "$failed" -eq 0 ] && [ "$ran" -gt 0 ] && [ "$files" -gt 0 ]
