#!/usr/bin/env bash
# Throughput benchmark of velmoor-convert on synthetic streams.
#
# For every size, range log and epoch rate: generates an input with velmoor-bench-stream
# into a temporary directory, converts it RUNS times (fresh output directory each time) and,
# interleaved with those runs, times a raw-I/O baseline that reads the same input and writes
# the same number of output bytes with plain tools (cat, head -c). Prints medians.
#
#   bench/run.sh [--sizes 100,400] [--logs range,rangecmp,rangecmp2] [--rates 1,20]
#                [--runs 5] [--quick] [--build-dir DIR] [--work-dir DIR] [--no-build]
#                [--convert PATH] [--results FILE] [--keep]
#
# --quick: sizes 10,40 MB. Sizes are in MB (10^6 bytes); so are all rates printed.
# --convert: time this velmoor-convert instead of the one built here (e.g. an older build).
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
sizes="100,400"
logs="range,rangecmp,rangecmp2"
rates="1,20"
runs=5
build_dir="$repo/build-bench/release"
work_parent="${TMPDIR:-/tmp}"
work_dir=""
build=1
results=""
keep=0
convert_override=""

usage() { sed -n '2,15p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; }

while [ $# -gt 0 ]; do
    case "$1" in
    --sizes) sizes="$2"; shift 2 ;;
    --logs) logs="$2"; shift 2 ;;
    --rates) rates="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --quick) sizes="10,40"; shift ;;
    --build-dir) build_dir="$2"; shift 2 ;;
    --work-dir) work_dir="$2"; shift 2 ;;
    --no-build) build=0; shift ;;
    --convert) convert_override="$2"; shift 2 ;;
    --results) results="$2"; shift 2 ;;
    --keep) keep=1; shift ;;
    -h | --help) usage; exit 0 ;;
    *) echo "run.sh: unknown argument '$1'" >&2; usage >&2; exit 2 ;;
    esac
done

if [ ! -x /usr/bin/time ]; then
    echo "run.sh: /usr/bin/time missing; installing the 'time' package" >&2
    sudo=()
    [ "$(id -u)" -ne 0 ] && sudo=(sudo)
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -q time >/dev/null
fi

if [ "$build" -eq 1 ]; then
    echo "== building (Release) in $build_dir" >&2
    cmake -S "$repo" -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DVELMOOR_TESTS=OFF >/dev/null
    cmake --build "$build_dir" -j"$(nproc)" --target velmoor-convert velmoor-bench-stream >/dev/null
fi
convert="${convert_override:-$build_dir/cli/velmoor-convert}"
generate="$build_dir/bench/velmoor-bench-stream"
for tool in "$convert" "$generate"; do
    [ -x "$tool" ] || { echo "run.sh: $tool not built" >&2; exit 1; }
done

if [ -z "$work_dir" ]; then
    work_dir="$(mktemp -d "$work_parent/velmoor-bench.XXXXXX")"
    [ "$keep" -eq 1 ] || trap 'rm -rf "$work_dir"' EXIT
else
    mkdir -p "$work_dir"
fi

# Median of the numbers on standard input (mean of the middle two for an even count).
median() {
    sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

now() { date +%s.%N; }

# Prints "wall-seconds cpu-seconds peak-rss-kB" of a command (CPU = user + system, of the
# command and its children).
timed() {
    local t0 t1
    t0="$(now)"
    /usr/bin/time -f '%U %S %M' -o "$work_dir/time" "$@"
    t1="$(now)"
    awk -v a="$t0" -v b="$t1" '{ printf "%.4f %.2f %d\n", b - a, $1 + $2, $3 }' "$work_dir/time"
}

table_header="| log | rate | input MB | epochs | wall s | CPU s | input MB/s | epochs/s | output MB | output MB/s | peak RSS MB | baseline wall s | baseline CPU s | ratio wall | ratio CPU |"
table_rule="|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
rows=()
streams=()

load_start="$(cut -d' ' -f1-3 /proc/loadavg)"
echo "== machine: $(nproc) CPUs, $(awk '/MemTotal/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo), work dir $work_dir" >&2
IFS=, read -r -a size_list <<<"$sizes"
IFS=, read -r -a log_list <<<"$logs"
IFS=, read -r -a rate_list <<<"$rates"

for size in "${size_list[@]}"; do
    for log in "${log_list[@]}"; do
        for rate in "${rate_list[@]}"; do
            input="$work_dir/$log-${rate}hz-${size}mb.dat"
            echo "== $log ${rate} Hz ${size} MB: generating" >&2
            "$generate" --log "$log" --rate "$rate" --size-mb "$size" -o "$input" >"$input.summary"
            in_bytes="$(awk -F= '$1 == "bytes" { print $2 }' "$input.summary")"
            epochs="$(awk -F= '$1 == "epochs" { print $2 }' "$input.summary")"
            streams+=("$(awk -F= -v lg="$log" -v rate="$rate" '{ v[$1] = $2 } END {
                printf "| %s | %d Hz | %.1f | %d | %.0f | %.1f | %.1f | %d | %d |", lg, rate, v["bytes"] / 1e6,
                    v["epochs"], v["duration_s"], v["mean_satellites"], v["mean_signals"], v["ephemeris_frames"],
                    v["omitted_signals"] }' "$input.summary")")

            conv_times=()
            conv_cpu=()
            base_times=()
            base_cpu=()
            rss_values=()
            out_bytes=0
            for ((run = 1; run <= runs; run++)); do
                out_dir="$work_dir/out"
                rm -rf "$out_dir"
                mkdir "$out_dir"
                read -r wall cpu rss < <(timed "$convert" -q -o "$out_dir/bench.24O" "$input")
                conv_times+=("$wall")
                conv_cpu+=("$cpu")
                rss_values+=("$rss")
                out_bytes="$(du -cb "$out_dir"/bench.24? | awk 'END { print $1 }')"
                rm -rf "$out_dir"

                # Baseline: read the input and write as many bytes as the conversion wrote.
                mkdir "$out_dir"
                read -r bwall bcpu _ < <(timed sh -c 'cat "$1" >/dev/null && head -c "$2" /dev/zero >"$3"' \
                    baseline "$input" "$out_bytes" "$out_dir/zero")
                base_times+=("$bwall")
                base_cpu+=("$bcpu")
                rm -rf "$out_dir"
                echo "   run $run: convert $wall s (CPU $cpu s, RSS $rss kB), baseline $bwall s (CPU $bcpu s)" >&2
            done
            rm -f "$input"

            conv="$(printf '%s\n' "${conv_times[@]}" | median)"
            ccpu="$(printf '%s\n' "${conv_cpu[@]}" | median)"
            base="$(printf '%s\n' "${base_times[@]}" | median)"
            bcpu="$(printf '%s\n' "${base_cpu[@]}" | median)"
            rss="$(printf '%s\n' "${rss_values[@]}" | median)"
            rows+=("$(awk -v lg="$log" -v rate="$rate" -v ib="$in_bytes" -v ep="$epochs" -v c="$conv" -v cc="$ccpu" \
                -v ob="$out_bytes" -v r="$rss" -v b="$base" -v bc="$bcpu" 'BEGIN {
                printf "| %s | %d Hz | %.1f | %d | %.3f | %.2f | %.1f | %.0f | %.1f | %.1f | %.1f | %.3f | %.2f | %.2f | %s |",
                    lg, rate, ib / 1e6, ep, c, cc, ib / 1e6 / c, ep / c, ob / 1e6, ob / 1e6 / c, r / 1024, b, bc, c / b,
                    (bc > 0 ? sprintf("%.2f", cc / bc) : "n/a") }')")
        done
    done
done

{
    echo "velmoor-convert, median of $runs runs (MB = 10^6 bytes; CPU = user + system;"
    echo "ratio = conversion time / raw-I/O baseline time, wall and CPU)"
    echo "load average at start: $load_start; at end: $(cut -d' ' -f1-3 /proc/loadavg)"
    echo
    echo "$table_header"
    echo "$table_rule"
    printf '%s\n' "${rows[@]}"
    echo
    echo "Streams (velmoor-bench-stream):"
    echo
    echo "| log | rate | MB | epochs | duration s | mean satellites | mean signals | ephemeris frames | omitted signals |"
    echo "|---|---:|---:|---:|---:|---:|---:|---:|---:|"
    printf '%s\n' "${streams[@]}"
} | tee ${results:+"$results"}
echo "== done in ${SECONDS} s" >&2
