#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the fuzz targets (preset fuzz), installing what is missing, replays seeds and past crashes
# and then fuzzes. What crashes is kept in build/fuzz/findings/TARGET and fails the run.
#
#   scripts/fuzz.sh [--seconds N] [--jobs N] [--seed N] [TARGET...]
#
# N seconds for each target (30 by default), as many targets side by side as jobs (2 by default).
# A seed of 0, the default, is another one each time; CI gives one, so that it fails for what a
# change does and not for the draw.
# TARGET is fuzz_landscape and so on (see fuzz/README.md), all of them by default.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

seconds=30
jobs=2
seed=0
targets=()
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=${2:?} && shift 2 ;;
    --jobs) jobs=${2:?} && shift 2 ;;
    --seed) seed=${2:?} && shift 2 ;;
    -*) echo "fuzz.sh: unknown option $1" >&2 && exit 2 ;;
    *) targets+=("$1") && shift ;;
  esac
done
if [ ${#targets[@]} -eq 0 ]; then
  mapfile -t targets < <(cd fuzz/corpus && printf '%s\n' fuzz_*)
fi
for target in "${targets[@]}"; do
  [ -f "fuzz/$target.cpp" ] || { echo "fuzz.sh: there is no target $target" >&2 && exit 2; }
done

# The runtime of libFuzzer and of the sanitizers is a package by clang's version.
ensure_packages "${build_packages[@]}" clang
version=$(clang -dumpversion)
ensure_packages "libclang-rt-${version%%.*}-dev"
build_preset fuzz "${targets[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ram=$work
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  ram=$(mktemp -d /dev/shm/fuzz.XXXXXX)
  trap 'rm -rf "$work" "$ram"' EXIT
fi
export UBSAN_OPTIONS=print_stacktrace=1

# run TARGET: the figures as one line, or what went wrong.
run() {
  local target=$1 findings=build/fuzz/findings/$1 log=$work/$1.log corpus=$work/$1
  local program=build/fuzz/bin/$target inputs=() status=0
  mkdir -p "$findings" "$corpus" "$ram/$target"
  cp "fuzz/corpus/$target"/* "$corpus"
  inputs=("$corpus"/*)
  if [ -d "fuzz/crashes/$target" ]; then
    inputs+=("fuzz/crashes/$target"/*)
  fi
  # Leaks are looked for when seeds and crashes are replayed (scripts/test.sh asan): what caches keep
  # would have every input searched for them.
  local common=(-timeout=25 -rss_limit_mb=2048 -detect_leaks=0 "-artifact_prefix=$findings/")
  if ! TMPDIR=$ram/$target "$program" "${common[@]}" "${inputs[@]}" >"$log" 2>&1; then
    status=1
  elif ! TMPDIR=$ram/$target "$program" "${common[@]}" -seed="$seed" -max_total_time="$seconds" \
    -max_len="$(most_bytes "$target")" -dict="fuzz/dictionaries/$target.dict" \
    -print_final_stats=1 "$corpus" >"$log" 2>&1; then
    status=1
  fi
  rm -rf "${ram:?}/$target"
  if [ $status -ne 0 ]; then
    echo "$target: FAILED"
    tail -n 60 "$log"
    return 1
  fi
  awk -v target="$target" '
    / cov: / { for (i = 1; i < NF; ++i) if ($i == "cov:") cov = $(i + 1); else if ($i == "corp:") corpus = $(i + 1) }
    /^stat::number_of_executed_units:/ { runs = $2 }
    /^stat::average_exec_per_sec:/ { rate = $2 }
    END { printf "%-22s %10d executions %7d a second  cov %6d  corpus %s\n", target, runs, rate, cov, corpus }
  ' "$log"
}

most_bytes() {
  case $1 in
    fuzz_landscape) echo 12000 ;;
    fuzz_regexp) echo 400 ;;
    *) echo 4096 ;;
  esac
}

export -f run most_bytes
export work ram seconds seed
# shellcheck disable=SC2016
if ! printf '%s\0' "${targets[@]}" | xargs -0 -P "$jobs" -n 1 bash -c 'set -euo pipefail; run "$0"'; then
  echo "Inputs that crash are in build/fuzz/findings; fuzz/README.md says what to do with them." >&2
  exit 1
fi
