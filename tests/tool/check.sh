# shellcheck shell=bash disable=SC2034,SC2154
# SPDX-License-Identifier: Apache-2.0
# Sourced by tests that drive the program, whose path is in $tool, from a scratch folder.
passed=0
failed=0
untouched= # a name that no checked run may make

# check NAME EXIT OUT ERR ARGUMENTS...: OUT and ERR are fixed texts of each stream, "" for an empty
# stream and "*" for any.
check() {
  local name=$1 exit=$2 out=$3 err=$4 got
  shift 4
  "$tool" "$@" >out.txt 2>err.txt </dev/null
  got=$?
  if [ "$got" -eq "$exit" ] && holds out.txt "$out" && holds err.txt "$err" &&
    { [ -z "$untouched" ] || [ ! -e "$untouched" ]; }; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAILED: %s: %s\n  exit %s, wanted %s; wanted out "%s", err "%s"; got:\n' \
      "$name" "$*" "$got" "$exit" "$out" "$err"
    sed 's/^/  out: /' out.txt
    sed 's/^/  err: /' err.txt
  fi
}

holds() {
  case $2 in
    "*") return 0 ;;
    "") [ ! -s "$1" ] ;;
    *) grep -qF -- "$2" "$1" ;;
  esac
}
