#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Measures the whole run of the tool against its rival (xmllint and xsltproc with the same rules) on
# generated landscapes, and prints a table in Markdown. Fails only when a ratio misses its goal by a
# factor of two: times on a shared machine are not exact.
set -euo pipefail
export LC_ALL=C

# Goals: our time over the rival's, and the growth of time and memory per tenfold size.
readonly GOAL_RIVAL=1.0
readonly GOAL_GROWTH=11
readonly TOLERANCE=2

usage() {
    cat <<'TEXT'
usage: scripts/bench.sh [--entries "N..."] [--runs N] [--fault-rate R] [--seed S] [--no-build]
  --entries     sizes of the landscapes, the smallest first (default "20000 200000")
  --runs        runs of each side per size; the medians are printed (default 3)
  --fault-rate  share of faulty entries (default 0.01)
  --seed        seed of the landscapes (default 1)
  --no-build    use the programs in build/release/bin as they are
TEXT
}

entries="20000 200000"
runs=3
fault_rate=0.01
seed=1
build=yes
while (($# > 0)); do
    case "$1" in
    --entries | --runs | --fault-rate | --seed)
        if (($# < 2)); then
            echo "bench.sh: $1 needs a value" >&2
            exit 2
        fi
        name="${1#--}"
        printf -v "${name//-/_}" '%s' "$2"
        shift 2
        ;;
    --no-build)
        build=no
        shift
        ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        echo "bench.sh: unknown option $1" >&2
        usage >&2
        exit 2
        ;;
    esac
done
for number in $entries "$runs" "$seed"; do
    if [[ ! "$number" =~ ^[0-9]+$ ]]; then
        echo "bench.sh: not a whole number: $number" >&2
        exit 2
    fi
done
if [[ -z "${entries// /}" ]] || ((runs < 1)); then
    echo "bench.sh: at least one size and one run are needed" >&2
    exit 2
fi

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"
work="$root/build/bench"
bin="$root/build/release/bin"
mkdir -p "$work"

install_missing() {
    local missing=()
    command -v xmllint >/dev/null || missing+=(libxml2-utils)
    command -v xsltproc >/dev/null || missing+=(xsltproc)
    [[ -x /usr/bin/time ]] || missing+=(time)
    ((${#missing[@]} == 0)) && return
    local as_root=()
    ((EUID == 0)) || as_root=(sudo)
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
        --no-install-recommends "${missing[@]}"
}

# measure OUTPUT ACCEPTED COMMAND...: appends "seconds kilobytes" to OUTPUT. ACCEPTED is a pattern of
# exit codes that are results; any other one ends the benchmark.
measure() {
    local output="$1" accepted="$2" code=0
    shift 2
    /usr/bin/time -v -o "$work/time.txt" "$@" >"$work/out.txt" 2>"$work/err.txt" || code=$?
    if [[ ! "$code" =~ ^($accepted)$ ]]; then
        echo "bench.sh: exit code $code from: $*" >&2
        tail -n 20 "$work/err.txt" >&2
        exit 2
    fi
    # The elapsed time is h:mm:ss or m:ss.
    awk -F': ' '
        /Elapsed \(wall clock\)/ { n = split($NF, t, ":"); for (i = 1; i <= n; i++) s = s * 60 + t[i] }
        /Maximum resident set size/ { kb = $NF }
        END { printf "%.2f %d\n", s, kb }' "$work/time.txt" >>"$output"
}

# median FILE COLUMN
median() {
    sort -n -k"$2,$2" "$1" | awk -v c="$2" '
        { v[NR] = $c }
        END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else printf "n/a" }'; }

# exceeds VALUE GOAL: true when the value is off by more than the tolerated factor.
exceeds() {
    [[ "$1" != "n/a" ]] && awk -v v="$1" -v g="$2" -v t="$TOLERANCE" 'BEGIN { exit !(v > g * t) }'
}

megabytes() { awk -v kb="$1" 'BEGIN { printf "%.0f", kb / 1024 }'; }

# run_size N: measures both sides in turn, so that a busy spell of the machine hits both alike.
run_size() {
    local file="$work/landscape-$1.xml" run
    "$bin/generate_landscape" --entries "$1" --fault-rate "$fault_rate" --seed "$seed" \
        --output "$file"
    rm -f "$work"/{lint,xslt,ours}-"$1".txt
    for ((run = 0; run < runs; run++)); do
        # Exit code 3 of xmllint: the file does not follow the schema.
        XML_CATALOG_FILES="$root/bench/rival/catalog.xml" measure "$work/lint-$1.txt" "0|3" \
            xmllint --nonet --stream --noout --schema src/resources/landscape.xsd "$file"
        measure "$work/xslt-$1.txt" "0" xsltproc --nonet bench/rival/rules.xslt "$file"
        rm -rf "$work/report"
        XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config" \
            measure "$work/ours-$1.txt" "0" \
            "$bin/landscape-validator" validate --fail-on never --output "$work/report" "$file"
    done
}

install_missing
if [[ "$build" == yes ]]; then
    if ! { cmake --preset release && cmake --build --preset release; } >"$work/build.txt" 2>&1; then
        tail -n 40 "$work/build.txt" >&2
        exit 2
    fi
fi
for program in generate_landscape landscape-validator; do
    if [[ ! -x "$bin/$program" ]]; then
        echo "bench.sh: build/release/bin/$program is missing" >&2
        exit 2
    fi
done

failed=0
first=""
growth_rows=""
echo "Machine: $(nproc) cores, $(awk -F': ' '/model name/ { print $2; exit }' /proc/cpuinfo)." \
    "Date: $(date -u +%Y-%m-%d). Medians of $runs runs, fault rate $fault_rate, seed $seed."
echo
echo "| entries | file MB | xmllint s | xsltproc s | rival s | ours s | ours / rival |" \
    "rival peak MB | ours peak MB |"
echo "|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
for size in $entries; do
    run_size "$size"
    lint="$(median "$work/lint-$size.txt" 1)"
    xslt="$(median "$work/xslt-$size.txt" 1)"
    ours="$(median "$work/ours-$size.txt" 1)"
    ours_kb="$(median "$work/ours-$size.txt" 2)"
    rival="$(awk -v a="$lint" -v b="$xslt" 'BEGIN { printf "%.2f", a + b }')"
    against="$(ratio "$ours" "$rival")"
    file_mb="$(awk -v b="$(stat -c %s "$work/landscape-$size.xml")" 'BEGIN { printf "%.1f", b / 1e6 }')"
    echo "| $size | $file_mb | $lint | $xslt | $rival | $ours | $against |" \
        "$(megabytes "$(median "$work/xslt-$size.txt" 2)") | $(megabytes "$ours_kb") |"
    exceeds "$against" "$GOAL_RIVAL" && failed=1
    if [[ -z "$first" ]]; then
        first="$size $ours $ours_kb"
        continue
    fi
    read -r first_size first_time first_kb <<<"$first"
    steps="$(ratio "$size" "$first_size")"
    time_growth="$(ratio "$ours" "$first_time")"
    memory_growth="$(ratio "$ours_kb" "$first_kb")"
    growth_rows+="| $first_size to $size | $steps | $time_growth | $memory_growth |"$'\n'
    growth_goal="$(awk -v g="$GOAL_GROWTH" -v s="$steps" 'BEGIN { print g * s / 10 }')"
    for growth in "$time_growth" "$memory_growth"; do
        exceeds "$growth" "$growth_goal" && failed=1
    done
done
if [[ -n "$growth_rows" ]]; then
    echo
    echo "| ours, from to | entries, times | time, times | peak memory, times |"
    echo "|---|---:|---:|---:|"
    printf '%s' "$growth_rows"
fi
if ((failed)); then
    echo "bench.sh: a ratio is off its goal by more than a factor of $TOLERANCE" >&2
fi
exit "$failed"
