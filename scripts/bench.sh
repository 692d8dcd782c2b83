#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Measures the whole run of the tool against its rival (xmllint and xsltproc with the same rules) on
# generated landscapes, and prints tables in Markdown. Fails only when a ratio misses its goal by a
# factor of two, by the clock and by processor time: times on a shared machine are not exact.
set -euo pipefail
export LC_ALL=C

# Goals: our time over the rival's for large landscapes and for small ones, on which what a process
# costs weighs more; growth of time per tenfold size; memory beyond what the page's data need, which
# an export holds about three times; seconds for 100 entries and for exporting 100,000 findings.
readonly GOAL_RIVAL=0.5
readonly GOAL_RIVAL_SMALL=1.0
readonly LARGE_FROM=100000
readonly GOAL_GROWTH=11
readonly GOAL_MEMORY_MB=400
readonly PAGE_COPIES=3
readonly GOAL_START=0.05
readonly GOAL_EXPORT=3
readonly TOLERANCE=2
# Above this size the rival needs more memory than most machines have.
readonly RIVAL_UP_TO=1000000

usage() {
    cat <<'TEXT'
usage: scripts/bench.sh [--entries "N..."] [--runs N] [--fault-rate R] [--seed S]
                        [--large] [--many-files] [--parts] [--quick] [--no-build]
  --entries     sizes of the landscapes, the smallest first (default "20000 200000")
  --runs        runs of each side per size; the medians are printed (default 3)
  --fault-rate  share of faulty entries (default 0.01)
  --seed        seed of the landscapes (default 1)
  --large       2,000,000 entries as well (1.5 GB of disk space)
  --many-files  1,000 files with 100,000 findings as well
  --parts       the benchmarks of the parts as well
  --quick       what CI runs: 20,000 entries and the start-up
  --no-build    use the programs in build/release/bin as they are
TEXT
}

entries="20000 200000"
runs=3
fault_rate=0.01
seed=1
build=yes
many_files=no
parts=no
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
    --large)
        entries+=" 2000000"
        shift
        ;;
    --many-files)
        many_files=yes
        shift
        ;;
    --parts)
        parts=yes
        shift
        ;;
    --quick)
        entries="20000"
        shift
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
    if [[ "$parts" == yes && ! -e /usr/include/benchmark/benchmark.h ]]; then
        missing+=(libbenchmark-dev)
    fi
    if [[ "$parts" == yes && ! -e /usr/include/re2/re2.h ]]; then
        missing+=(libre2-dev)
    fi
    ((${#missing[@]} == 0)) && return
    local as_root=()
    ((EUID == 0)) || as_root=(sudo)
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
        --no-install-recommends "${missing[@]}"
}

# measure OUTPUT ACCEPTED COMMAND...: appends "seconds kilobytes cpu-seconds" to OUTPUT. ACCEPTED is a pattern of
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
        /(User|System) time/ { cpu += $NF }
        END { printf "%.2f %d %.2f\n", s, kb, cpu }' "$work/time.txt" >>"$output"
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

# lesser A B: the smaller of two ratios, either of which may be unknown.
lesser() { awk -v a="$1" -v b="$2" 'BEGIN { print (a == "n/a" || (b != "n/a" && b < a)) ? b : a }'; }

page_megabytes() {
    awk -v b="$(stat -c %s "$work/report/ValidationResults.htm")" 'BEGIN { printf "%.1f", b / 1e6 }'
}

# run_ours OUTPUT FILE
run_ours() {
    rm -rf "$work/report"
    XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config" \
        measure "$1" "0" \
        "$bin/landscape-validator" validate --fail-on never --output "$work/report" "$2"
}

# run_size N: measures both sides in turn, so that a busy spell of the machine hits both alike.
run_size() {
    local file="$work/landscape-$1.xml" run
    "$bin/generate_landscape" --entries "$1" --fault-rate "$fault_rate" --seed "$seed" \
        --output "$file"
    rm -f "$work"/{lint,xslt,ours}-"$1".txt
    for ((run = 0; run < runs; run++)); do
        if (($1 <= RIVAL_UP_TO)); then
            # Exit code 3 of xmllint: the file does not follow the schema.
            XML_CATALOG_FILES="$root/bench/rival/catalog.xml" measure "$work/lint-$1.txt" "0|3" \
                xmllint --nonet --stream --noout --schema src/resources/landscape.xsd "$file"
            measure "$work/xslt-$1.txt" "0" xsltproc --nonet bench/rival/rules.xslt "$file"
        fi
        run_ours "$work/ours-$1.txt" "$file"
    done
}

# The rival's figures for a size; "n/a" where it was not run.
rival_columns() {
    if [[ ! -e "$work/lint-$1.txt" ]]; then
        echo "n/a n/a n/a n/a 0"
        return
    fi
    local lint xslt
    lint="$(median "$work/lint-$1.txt" "$2")"
    xslt="$(median "$work/xslt-$1.txt" "$2")"
    awk -v a="$lint" -v b="$xslt" -v kb="$(median "$work/xslt-$1.txt" 2)" \
        'BEGIN { printf "%s %s %.2f %.0f 1\n", a, b, a + b, kb / 1024 }'
}

over() { if [[ "$2" == "n/a" ]]; then echo "n/a"; else ratio "$1" "$2"; fi; }

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
# check VALUE GOAL WHAT: notes a value that is off its goal by more than the tolerated factor.
check() {
    if exceeds "$1" "$2"; then
        echo "bench.sh: $3 is $1; the goal is $2" >&2
        failed=1
    fi
}

echo "Machine: $(nproc) cores, $(awk -F': ' '/model name/ { print $2; exit }' /proc/cpuinfo)," \
    "load $(cut -d' ' -f1 /proc/loadavg) at the start. Date: $(date -u +%Y-%m-%d). Medians of $runs" \
    "runs, fault rate $fault_rate, seed $seed."
echo
echo "| entries | file MB | xmllint s | xsltproc s | rival s | ours s | ours / rival |" \
    "the same, CPU | rival peak MB | ours peak MB | page MB |"
echo "|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
for size in $entries; do
    run_size "$size"
    read -r lint xslt rival rival_mb has_rival < <(rival_columns "$size" 1)
    read -r _ _ rival_cpu _ _ < <(rival_columns "$size" 3)
    ours="$(median "$work/ours-$size.txt" 1)"
    ours_kb="$(median "$work/ours-$size.txt" 2)"
    ours_cpu="$(median "$work/ours-$size.txt" 3)"
    against="$(over "$ours" "$rival")"
    against_cpu="$(over "$ours_cpu" "$rival_cpu")"
    file_mb="$(awk -v b="$(stat -c %s "$work/landscape-$size.xml")" 'BEGIN { printf "%.1f", b / 1e6 }')"
    page_mb="$(page_megabytes)"
    echo "| $size | $file_mb | $lint | $xslt | $rival | $ours | $against | $against_cpu |" \
        "$rival_mb | $(megabytes "$ours_kb") | $page_mb |"
    if ((has_rival)); then
        goal="$GOAL_RIVAL"
        ((size < LARGE_FROM)) && goal="$GOAL_RIVAL_SMALL"
        check "$(lesser "$against" "$against_cpu")" "$goal" "our time over the rival's at $size"
    fi
    check "$(megabytes "$ours_kb")" \
        "$(awk -v m="$GOAL_MEMORY_MB" -v c="$PAGE_COPIES" -v p="$page_mb" 'BEGIN { print m + c * p }')" \
        "peak memory in MB at $size"
    if [[ -n "$first" ]]; then
        read -r first_size first_time first_kb first_cpu <<<"$first"
        steps="$(ratio "$size" "$first_size")"
        time_growth="$(ratio "$ours" "$first_time")"
        cpu_growth="$(ratio "$ours_cpu" "$first_cpu")"
        growth_rows+="| $first_size to $size | $steps | $time_growth | $cpu_growth |"
        growth_rows+=" $(ratio "$ours_kb" "$first_kb") |"$'\n'
        check "$(lesser "$time_growth" "$cpu_growth")" \
            "$(awk -v g="$GOAL_GROWTH" -v s="$steps" 'BEGIN { print g * s / 10 }')" \
            "growth of time from $first_size to $size"
    fi
    first="$size $ours $ours_kb $ours_cpu"
done
if [[ -n "$growth_rows" ]]; then
    echo
    echo "| ours, from to | entries, times | time, times | CPU, times | peak memory, times |"
    echo "|---|---:|---:|---:|---:|"
    printf '%s' "$growth_rows"
fi

"$bin/generate_landscape" --entries 100 --fault-rate "$fault_rate" --seed "$seed" \
    --output "$work/landscape-100.xml"
rm -f "$work/start.txt"
for ((run = 0; run < 5; run++)); do
    run_ours "$work/start.txt" "$work/landscape-100.xml"
done
start="$(median "$work/start.txt" 1)"
start_cpu="$(median "$work/start.txt" 3)"
echo
echo "A whole run on 100 entries: $start s, $start_cpu s of processor time."
check "$(lesser "$start" "$start_cpu")" "$GOAL_START" "the time for 100 entries"

if [[ "$many_files" == yes ]]; then
    mkdir -p "$work/many"
    "$bin/generate_landscape" --entries 100000 --fault-rate 0.63 --files 1000 --seed "$seed" \
        --output "$work/many/main.xml"
    rm -f "$work/many.txt"
    for ((run = 0; run < runs; run++)); do
        run_ours "$work/many.txt" "$work/many/main.xml"
    done
    echo
    echo "1,000 files, 100,000 findings: $(median "$work/many.txt" 1) s," \
        "$(median "$work/many.txt" 3) s of processor time, peak" \
        "$(megabytes "$(median "$work/many.txt" 2)") MB, page $(page_megabytes) MB."
fi
if [[ "$parts" == yes ]]; then
    echo
    "$bin/bench_parts" --benchmark_format=csv 2>/dev/null >"$work/parts.csv"
    echo "| part | time ms | CPU ms | items/s |"
    echo "|---|---:|---:|---:|"
    awk -F, '/^"/ && $1 !~ /_(RMS|BigO)/ {
        gsub(/"/, "", $1)
        printf "| %s | %.1f | %.1f | %s |\n", $1, $3, $4, ($7 == "" ? "" : sprintf("%.0f", $7)) }' \
        "$work/parts.csv"
    cpu_of() { awk -F, -v n="\"$1\"" '$1 == n { print $4 }' "$work/parts.csv"; }
    check "$(ratio "$(cpu_of UuidFormat/regexp/1000000)" "$(cpu_of UuidFormat/re2/1000000)")" 1 \
        "regexp over RE2"
    check "$(ratio "$(cpu_of PostProcess/100000)" 1000)" "$GOAL_EXPORT" \
        "the export of 100,000 findings in s"
fi
if ((failed)); then
    echo "bench.sh: a ratio is off its goal by more than a factor of $TOLERANCE" >&2
fi
exit "$failed"
