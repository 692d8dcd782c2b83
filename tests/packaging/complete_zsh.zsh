#!/usr/bin/env zsh
# SPDX-License-Identifier: Apache-2.0
# usage: complete_zsh.zsh PROGRAM COMPLETION-FOLDER LINES RESULTS: types each line of the file LINES
# into a zsh on a terminal of its own, presses the tab key, and writes the offers to RESULTS as
# "N offer", N being the number of the line.
emulate -L zsh
zmodload zsh/zpty
local program=$1 folder=$2 lines=$3 results=$4 seen
zpty shell "PROGRAM=${(q)program} FPATH=${(q)folder}:\$FPATH RESULTS=${(q)results} zsh -f -i"
zpty -w shell 'PS1= PROMPT_EOL_MARK= KEYTIMEOUT=1; autoload -Uz compinit && compinit -u -D; zstyle ":completion:*" list-separator "--"'
# Every match passes compadd; those of -O, -A and -D only go into arrays of the caller.
zpty -w shell 'compadd() { if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then builtin compadd "$@"; return; fi
  local -a hits; builtin compadd -O hits "$@"; (( $#hits )) && print -rl -- $LINE\ $^hits >> $RESULTS; builtin compadd "$@" }'
zpty -w shell 'offers() { compstate[list]=; compstate[insert]=; _main_complete; compstate[insert]=; compstate[list]= }'
zpty -w shell 'zle -C offers complete-word offers; bindkey "^I" offers; function landscape-validator { $PROGRAM "$@" }'
zpty -w shell 'finish() { print -r -- "$LINE done" >> $RESULTS; BUFFER= }; zle -N finish; bindkey "^X" finish'
integer number=0
local line
while IFS= read -r line; do
  (( ++number ))
  zpty -w shell "LINE=$number"
  sleep 0.05
  zpty -w -n shell "$line"$'\t'
  zpty -w -n shell $'\x18'
  integer patience=100
  while (( patience-- > 0 )) && ! grep -q "^$number done" $results 2>/dev/null; do
    zpty -r -t shell seen 2>/dev/null
    sleep 0.05
  done
done < $lines
zpty -d shell
