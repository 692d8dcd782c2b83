#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: container_steps.sh CONTAINERFILE BARE: takes the steps of a container file without a
# container engine, each stage in a copy of the Debian in the folder BARE (debootstrap's minbase), and
# then runs the image's program as its user. Knows the instructions that our file uses, and refuses
# any other. Needs root.
set -euo pipefail
file=$(realpath "$1") bare=$(realpath "$2")
context=$(git -C "$(dirname "$file")" rev-parse --show-toplevel)
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
declare -A stages=()
stage='' folder=/ user=root entry='' volume=''

inside() { # COMMAND... in the stage's folder, as its user
  chroot --userspec="$user" "$stage" /usr/bin/env -i -C "$folder" \
    PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/tmp "$@"
}

copy() { # WORDS of a COPY instruction
  local from=$context
  if [[ $1 == --from=* ]]; then
    from=${stages[${1#--from=}]}
    shift
  fi
  local target=${*: -1} sources=("${@:1:$#-1}") source found
  [[ $target == /* ]] || target=$folder/$target
  mkdir -p "$stage$target"
  for source in "${sources[@]}"; do
    if [[ $source == . ]]; then
      (cd "$from" && git ls-files -z | xargs -0 tar c) | tar x -C "$stage$target"
    else
      mapfile -t found < <(compgen -G "$from/$source")
      cp -r "${found[@]}" "$stage$target"
    fi
  done
}

while IFS= read -r line; do
  read -ra words <<<"$line"
  case ${words[0]:-#} in
  '#'*) continue ;;
  FROM)
    [[ ${words[1]} == debian:12-slim ]] || { echo "not this Debian: ${words[1]}"; exit 2; }
    stage=$work/stage${#stages[@]} folder=/ user=root
    cp -a "$bare" "$stage"
    cp -L /etc/resolv.conf "$stage/etc/resolv.conf"
    stages[${words[3]:-last}]=$stage
    ;;
  COPY) copy "${words[@]:1}" ;;
  RUN)
    inside sh -c "${line#RUN }" >"$work/log" 2>&1 ||
      { tail -n 40 "$work/log"; echo "failed: $line"; exit 1; }
    ;;
  USER) user=${words[1]} ;;
  WORKDIR) folder=${words[1]} && mkdir -p "$stage$folder" ;;
  VOLUME) volume=${words[1]} ;;
  ENTRYPOINT) entry=${line#*[\"} && entry=${entry%%\"*} ;;
  CMD) ;;
  *) echo "unknown instruction: $line" && exit 2 ;;
  esac
  echo "done: ${line:0:70}"
done <"$file"

[[ $user != root && $volume == "$folder" ]] || { echo "runs as root or outside of its volume"; exit 1; }
cp "$context"/examples/*.xml "$stage$volume"
code=0
inside "$entry" faulty_landscape.xml >"$work/log" 2>&1 || code=$?
[[ $code -eq 1 && -s $stage$volume/landscape-report/ValidationResults.htm ]] ||
  { cat "$work/log"; echo "$entry ended with $code in the image"; exit 1; }
echo "the image's program ran as $user and wrote its report into $volume"
