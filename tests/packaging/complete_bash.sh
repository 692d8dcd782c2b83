#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: complete_bash.sh PROGRAM COMPLETION LINE: prints what bash offers at the end of LINE. With
# BASH_COMPLETION_LOADER the completion is found by that package, as on a user's machine.
program=$1 completion=$2 line=$3
if [[ -n ${BASH_COMPLETION_LOADER:-} ]]; then
    # shellcheck source=/dev/null
    . "$BASH_COMPLETION_LOADER"
    BASH_COMPLETION_USER_DIR=$(dirname "$(dirname "$completion")") _completion_loader "$program"
else
    # shellcheck source=/dev/null
    . "$completion"
fi

# Words as readline splits them: "=" is a word of its own.
read -ra COMP_WORDS <<<"${line//=/ = }"
[[ $line != *[[:space:]=] ]] || COMP_WORDS+=("")
COMP_LINE=$line COMP_POINT=${#line} COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_TYPE=9 COMP_KEY=9
read -ra definition <<<"$(complete -p landscape-validator)"
for ((i = 0; i < ${#definition[@]}; ++i)); do
    [[ ${definition[i]} != -F ]] || function=${definition[i + 1]}
done
"$function" "$program" "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}" 2>/dev/null
printf '%s\n' "${COMPREPLY[@]}"
