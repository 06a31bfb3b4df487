#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Throughput benchmark of velmoor-convert on synthetic streams, against the strict raw-I/O
# limit.
#
# For every size, range log and epoch rate (and the navigation-heavy stream): generates an
# input with velmoor-bench-stream, converts it RUNS times (fresh output directory each time)
# and, interleaved with those runs, times the strict limit with velmoor-bench-io: inside one
# process, read the input and write as many bytes as the conversion wrote, both in 1 MiB
# blocks, into the same output directory. Prints best and median of each.
#
#   bench/run.sh [--sizes 100,400] [--logs range,rangecmp,rangecmp2] [--rates 1,20]
#                [--runs 5] [--quick] [--no-nav-heavy] [--jobs-check] [--qc] [--build-dir DIR]
#                [--work-dir DIR] [--no-build] [--convert PATH] [--results FILE] [--keep]
#
# --quick: sizes 10,40 MB. Sizes are in MB (10^6 bytes); so are all rates printed.
# --no-nav-heavy: leave out the RANGECMP 1 Hz stream with new navigation records every 30 s.
# --jobs-check: also time -j 1 and -j 2 on two copies of the first size's RANGECMP 1 Hz stream.
# --qc: also time each conversion with --qc (interleaved runs) and print what the check adds,
#       also as the median of each run's pair (--qc wall / convert wall), which a machine whose
#       speed drifts between runs disturbs least.
# --convert: time this velmoor-convert instead of the one built here (e.g. an older build).
# The work directory defaults to /dev/shm (memory only: no disk write-back in the timings).
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
sizes="100,400"
logs="range,rangecmp,rangecmp2"
rates="1,20"
runs=5
build_dir="$repo/build-bench/release"
work_parent="${TMPDIR:-/tmp}"
[ -d /dev/shm ] && [ -w /dev/shm ] && work_parent=/dev/shm
nav_heavy=1
jobs_check=0
qc_check=0
work_dir=""
build=1
results=""
keep=0
convert_override=""

usage() { sed -n '2,20p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; }

while [ $# -gt 0 ]; do
    case "$1" in
    --sizes) sizes="$2"; shift 2 ;;
    --logs) logs="$2"; shift 2 ;;
    --rates) rates="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --quick) sizes="10,40"; shift ;;
    --no-nav-heavy) nav_heavy=0; shift ;;
    --jobs-check) jobs_check=1; shift ;;
    --qc) qc_check=1; shift ;;
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
    cmake --build "$build_dir" -j"$(nproc)" --target velmoor-convert velmoor-bench-stream velmoor-bench-io >/dev/null
fi
convert="${convert_override:-$build_dir/cli/velmoor-convert}"
generate="$build_dir/bench/velmoor-bench-stream"
strict_io="$build_dir/bench/velmoor-bench-io"
for tool in "$convert" "$generate" "$strict_io"; do
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
best() { sort -g | head -n 1; }

now() { date +%s.%N; }

# Prints "wall-seconds cpu-seconds peak-rss-kB" of a command (CPU = user + system, of the
# command and its children). The command's own standard output (the --qc summary) is dropped.
timed() {
    local t0 t1
    t0="$(now)"
    /usr/bin/time -f '%U %S %M' -o "$work_dir/time" "$@" >/dev/null
    t1="$(now)"
    awk -v a="$t0" -v b="$t1" '{ printf "%.4f %.2f %d\n", b - a, $1 + $2, $3 }' "$work_dir/time"
}

table_header="| stream | rate | input MB | epochs | nav records | output MB | best s | median s | CPU s | peak RSS MB | limit best s | limit median s | limit CPU s | ratio best | ratio median | ratio CPU |"
table_rule="|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
rows=()
streams=()
jobs_rows=()
qc_rows=()

load_start="$(cut -d' ' -f1-3 /proc/loadavg)"
echo "== machine: $(nproc) CPUs, $(awk '/MemTotal/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo), work dir $work_dir" >&2
IFS=, read -r -a size_list <<<"$sizes"
IFS=, read -r -a log_list <<<"$logs"
IFS=, read -r -a rate_list <<<"$rates"

# name|log|rate|extra generator options
stream_kinds=()
for log in "${log_list[@]}"; do
    for rate in "${rate_list[@]}"; do
        stream_kinds+=("$log|$log|$rate|")
    done
done
[ "$nav_heavy" -eq 1 ] && stream_kinds+=("rangecmp+nav30|rangecmp|1|--nav-every 30 --nav-update 30")

for size in "${size_list[@]}"; do
    for kind in "${stream_kinds[@]}"; do
        IFS='|' read -r name log rate extra <<<"$kind"
        input="$work_dir/$name-${rate}hz-${size}mb.dat"
        echo "== $name ${rate} Hz ${size} MB: generating" >&2
        # shellcheck disable=SC2086 # extra holds separate options
        "$generate" --log "$log" --rate "$rate" --size-mb "$size" $extra -o "$input" >"$input.summary"
        in_bytes="$(awk -F= '$1 == "bytes" { print $2 }' "$input.summary")"
        epochs="$(awk -F= '$1 == "epochs" { print $2 }' "$input.summary")"
        streams+=("$(awk -F= -v lg="$name" -v rate="$rate" '{ v[$1] = $2 } END {
            printf "| %s | %d Hz | %.1f | %d | %.0f | %.1f | %.1f | %d | %d |", lg, rate, v["bytes"] / 1e6,
                v["epochs"], v["duration_s"], v["mean_satellites"], v["mean_signals"], v["ephemeris_frames"],
                v["omitted_signals"] }' "$input.summary")")

        conv_times=()
        conv_cpu=()
        limit_times=()
        limit_cpu=()
        rss_values=()
        qc_times=()
        qc_cpu=()
        qc_rss=()
        qc_pairs=()
        out_bytes=0
        nav_lines=0
        for ((run = 1; run <= runs; run++)); do
            out_dir="$work_dir/out"
            rm -rf "$out_dir"
            mkdir "$out_dir"
            read -r wall cpu rss < <(timed "$convert" -q -o "$out_dir/bench.24O" "$input")
            conv_times+=("$wall")
            conv_cpu+=("$cpu")
            rss_values+=("$rss")
            out_bytes="$(du -cb "$out_dir"/bench.24? | awk 'END { print $1 }')"
            # Navigation records: the lines that start a record in the four navigation files.
            nav_lines="$(cat "$out_dir"/bench.24[NGLC] | grep -c '^[GREC][0-9][0-9] ' || true)"
            rm -rf "$out_dir"

            # The strict limit: the same bytes through the page cache in 1 MiB blocks.
            mkdir "$out_dir"
            read -r limit limit_c < <("$strict_io" "$input" "$out_dir" "$out_bytes" 1 |
                awk '{ sub("seconds=", "", $1); sub("cpu=", "", $2); print $1, $2 }')
            limit_times+=("$limit")
            limit_cpu+=("$limit_c")
            rm -rf "$out_dir"
            echo "   run $run: convert $wall s (CPU $cpu s, RSS $rss kB), strict limit $limit s (CPU $limit_c s)" >&2
            if [ "$qc_check" -eq 1 ]; then
                mkdir "$out_dir"
                read -r qwall qcpu qrss < <(timed "$convert" -q --qc -o "$out_dir/bench.24O" "$input")
                qc_times+=("$qwall")
                qc_cpu+=("$qcpu")
                qc_rss+=("$qrss")
                qc_pairs+=("$(awk -v q="$qwall" -v c="$wall" 'BEGIN { printf "%.4f\n", q / c }')")
                rm -rf "$out_dir"
                echo "   run $run: convert --qc $qwall s (CPU $qcpu s, RSS $qrss kB)" >&2
            fi
        done

        if [ "$jobs_check" -eq 1 ] && [ ${#jobs_rows[@]} -eq 0 ] && [ "$name" = rangecmp ] && [ "$rate" = 1 ]; then
            # -j scaling: two inputs, one after the other and both at once.
            jdir="$work_dir/jobs"
            mkdir -p "$jdir"
            cp "$input" "$jdir/a.dat"
            cp "$input" "$jdir/b.dat"
            j1=()
            j2=()
            for ((run = 1; run <= runs; run++)); do
                for j in 1 2; do
                    rm -f "$jdir"/*.[0-9][0-9]?
                    read -r wall cpu _ < <(timed "$convert" -q -j "$j" "$jdir/a.dat" "$jdir/b.dat")
                    if [ "$j" -eq 1 ]; then j1+=("$wall"); else j2+=("$wall"); fi
                    echo "   -j $j run $run: $wall s (CPU $cpu s)" >&2
                done
            done
            rm -rf "$jdir"
            j1b="$(printf '%s\n' "${j1[@]}" | best)"
            j1m="$(printf '%s\n' "${j1[@]}" | median)"
            j2b="$(printf '%s\n' "${j2[@]}" | best)"
            j2m="$(printf '%s\n' "${j2[@]}" | median)"
            jobs_rows+=("$(awk -v n="$name" -v s="$size" -v a="$j1b" -v b="$j1m" -v c="$j2b" -v d="$j2m" 'BEGIN {
                printf "| 2 x %s 1 Hz %s MB | %.3f | %.3f | %.3f | %.3f | %.2f | %.2f |", n, s, a, b, c, d, a / c, b / d }')")
        fi
        rm -f "$input"

        if [ "$qc_check" -eq 1 ]; then
            qb="$(printf '%s\n' "${qc_times[@]}" | best)"
            qm="$(printf '%s\n' "${qc_times[@]}" | median)"
            qc="$(printf '%s\n' "${qc_cpu[@]}" | median)"
            qr="$(printf '%s\n' "${qc_rss[@]}" | median)"
            qp="$(printf '%s\n' "${qc_pairs[@]}" | median)"
            cb0="$(printf '%s\n' "${conv_times[@]}" | best)"
            cm0="$(printf '%s\n' "${conv_times[@]}" | median)"
            cc0="$(printf '%s\n' "${conv_cpu[@]}" | median)"
            cr0="$(printf '%s\n' "${rss_values[@]}" | median)"
            qc_rows+=("$(awk -v lg="$name" -v rate="$rate" -v ib="$in_bytes" -v cb="$cb0" -v cm="$cm0" -v cc="$cc0" \
                -v cr="$cr0" -v qb="$qb" -v qm="$qm" -v qc="$qc" -v qr="$qr" -v qp="$qp" 'BEGIN {
                printf "| %s | %d Hz | %.1f | %.3f | %.3f | %.2f | %.3f | %.3f | %.2f | %+.0f %% | %+.0f %% | %+.0f %% | %+.0f %% | %.1f | %.1f |",
                    lg, rate, ib / 1e6, cb, cm, cc, qb, qm, qc, 100 * (qb / cb - 1), 100 * (qm / cm - 1),
                    100 * (qp - 1), 100 * (qc / cc - 1), cr / 1024, qr / 1024 }')")
        fi

        cb="$(printf '%s\n' "${conv_times[@]}" | best)"
        cm="$(printf '%s\n' "${conv_times[@]}" | median)"
        ccpu="$(printf '%s\n' "${conv_cpu[@]}" | median)"
        lb="$(printf '%s\n' "${limit_times[@]}" | best)"
        lm="$(printf '%s\n' "${limit_times[@]}" | median)"
        lc="$(printf '%s\n' "${limit_cpu[@]}" | median)"
        rss="$(printf '%s\n' "${rss_values[@]}" | median)"
        rows+=("$(awk -v lg="$name" -v rate="$rate" -v ib="$in_bytes" -v ep="$epochs" -v nv="$nav_lines" \
            -v ob="$out_bytes" -v cb="$cb" -v cm="$cm" -v cc="$ccpu" -v r="$rss" -v lb="$lb" -v lm="$lm" -v lc="$lc" 'BEGIN {
            printf "| %s | %d Hz | %.1f | %d | %d | %.1f | %.3f | %.3f | %.2f | %.1f | %.3f | %.3f | %.3f | %.2f | %.2f | %.2f |",
                lg, rate, ib / 1e6, ep, nv, ob / 1e6, cb, cm, cc, r / 1024, lb, lm, lc, cb / lb, cm / lm, cc / lc }')")
    done
done

{
    echo "velmoor-convert, best and median of $runs runs (MB = 10^6 bytes; CPU = user + system, median)."
    echo "Strict limit: velmoor-bench-io reading the input and writing the conversion's output size,"
    echo "in 1 MiB blocks, inside one process. Ratio = conversion wall time / strict limit wall time"
    echo "(best / best, median / median; CPU: medians of user + system, which the machine's load disturbs less)."
    echo "Work directory: $work_dir"
    echo "load average at start: $load_start; at end: $(cut -d' ' -f1-3 /proc/loadavg)"
    echo
    echo "$table_header"
    echo "$table_rule"
    printf '%s\n' "${rows[@]}"
    if [ ${#qc_rows[@]} -gt 0 ]; then
        echo
        echo "With --qc (same runs, interleaved): what the quality check adds to the conversion."
        echo "Added paired: the median over the runs of each run's --qc wall time / convert wall time."
        echo
        echo "| stream | rate | input MB | convert best s | convert median s | convert CPU s | --qc best s | --qc median s | --qc CPU s | added best | added median | added paired | added CPU | RSS MB | --qc RSS MB |"
        echo "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
        printf '%s\n' "${qc_rows[@]}"
    fi
    if [ ${#jobs_rows[@]} -gt 0 ]; then
        echo
        echo "| inputs | -j 1 best s | -j 1 median s | -j 2 best s | -j 2 median s | speed-up best | speed-up median |"
        echo "|---|---:|---:|---:|---:|---:|---:|"
        printf '%s\n' "${jobs_rows[@]}"
    fi
    echo
    echo "Streams (velmoor-bench-stream):"
    echo
    echo "| stream | rate | MB | epochs | duration s | mean satellites | mean signals | ephemeris frames | omitted signals |"
    echo "|---|---:|---:|---:|---:|---:|---:|---:|---:|"
    printf '%s\n' "${streams[@]}"
} | tee ${results:+"$results"}
echo "== done in ${SECONDS} s" >&2
