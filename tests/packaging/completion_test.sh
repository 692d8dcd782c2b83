#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: completion_test.sh PROGRAM FOLDER: types the lines of completion_cases.txt into bash, plain
# and with bash-completion's loader, and into zsh, with the completions that stand in FOLDER.
set -euo pipefail
program=$1 folder=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

shellcheck "$folder/landscape-validator.bash" "$here"/*.sh
zsh -n "$folder/_landscape-validator"
mkdir -p "$work/in/land" "$work/zsh" "$work/bash/completions"
touch "$work/in/a.xml" "$work/in/b.XML" "$work/in/notes.txt"
cp "$folder/_landscape-validator" "$work/zsh"
cp "$folder/landscape-validator.bash" "$work/bash/completions/landscape-validator"
sed '/^#/d; s/=>.*//; s/ $//' "$here/completion_cases.txt" >"$work/lines"
sed '/^#/d; s/.*=> *//' "$here/completion_cases.txt" >"$work/expected"

cd "$work/in"
timeout 120 zsh "$here/complete_zsh.zsh" "$program" "$work/zsh" "$work/lines" "$work/zsh-results"

offers() { # SHELL NUMBER LINE
  case $1 in
  bash) "$here/complete_bash.sh" "$program" "$work/bash/completions/landscape-validator" "$3" ;;
  loaded)
    BASH_COMPLETION_LOADER=/usr/share/bash-completion/bash_completion \
      "$here/complete_bash.sh" "$program" "$work/bash/completions/landscape-validator" "$3"
    ;;
  zsh) sed -n "s/^$2 //p" "$work/zsh-results" | sed '/^done$/d' ;;
  esac
}

failed=0
number=0
while IFS= read -r line <&3 && IFS= read -r expected <&4; do
  number=$((number + 1))
  grep -q "^$number done$" "$work/zsh-results" || { echo "zsh never answered: $line"; failed=1; }
  for shell in bash loaded zsh; do
    offered=$(offers "$shell" "$number" "$line" | LC_ALL=C sort -u | xargs)
    if [[ $offered != "$expected" ]]; then
      printf '%s: "%s"\n  expected: %s\n  offered:  %s\n' "$shell" "$line" "$expected" "$offered"
      failed=1
    fi
  done
done 3<"$work/lines" 4<"$work/expected"
echo "$number lines completed in bash, bash-completion and zsh"
((number > 10)) || failed=1
exit "$failed"
