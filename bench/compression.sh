#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cost of compressing the observation file, against the conversion that writes it.
#
# For every range log and epoch rate: generates a synthetic input with velmoor-bench-stream,
# converts it, then compresses the observation file with velmoor-bench-compress in each mode
# (crx, crx.gz, gz). Each step runs RUNS times, interleaved; prints medians, and the best
# runs of the conversion and of crx (the least disturbed by other load).
#
#   bench/compression.sh [--size 100] [--logs range,rangecmp,rangecmp2] [--rates 1,20]
#                        [--runs 5] [--build-dir DIR] [--no-build] [--results FILE]
#
# Each run also times velmoor-convert --compress crx itself, which encodes the body while
# it writes it: "added" is what that costs over the plain conversion (the target is at most
# +50 %). "crx / convert" is the compressor alone on the finished file, for comparison.
#
# Sizes in MB (10^6 bytes).
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
size=100
logs="range,rangecmp,rangecmp2"
rates="1,20"
runs=5
build_dir="$repo/build-bench/release"
build=1
results=""

usage() { sed -n '2,17p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; }

while [ $# -gt 0 ]; do
    case "$1" in
    --size) size="$2"; shift 2 ;;
    --logs) logs="$2"; shift 2 ;;
    --rates) rates="$2"; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --build-dir) build_dir="$2"; shift 2 ;;
    --no-build) build=0; shift ;;
    --results) results="$2"; shift 2 ;;
    -h | --help) usage; exit 0 ;;
    *) echo "compression.sh: unknown argument '$1'" >&2; usage >&2; exit 2 ;;
    esac
done

[ -x /usr/bin/time ] || { echo "compression.sh: needs /usr/bin/time (package 'time')" >&2; exit 1; }

if [ "$build" -eq 1 ]; then
    echo "== building (Release) in $build_dir" >&2
    cmake -S "$repo" -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DVELMOOR_TESTS=OFF >/dev/null
    cmake --build "$build_dir" -j"$(nproc)" --target velmoor-convert velmoor-bench-stream velmoor-bench-compress >/dev/null
fi
convert="$build_dir/cli/velmoor-convert"
generate="$build_dir/bench/velmoor-bench-stream"
compress="$build_dir/bench/velmoor-bench-compress"
for tool in "$convert" "$generate" "$compress"; do
    [ -x "$tool" ] || { echo "compression.sh: $tool not built" >&2; exit 1; }
done

work_dir="$(mktemp -d "${TMPDIR:-/tmp}/velmoor-bench-crx.XXXXXX")"
trap 'rm -rf "$work_dir"' EXIT

best() { sort -g | head -n 1; }
median() {
    sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
now() { date +%s.%N; }
# "wall-seconds cpu-seconds peak-rss-kB" of a command.
timed() {
    local t0 t1
    t0="$(now)"
    /usr/bin/time -f '%U %S %M' -o "$work_dir/time" "$@"
    t1="$(now)"
    awk -v a="$t0" -v b="$t1" '{ printf "%.4f %.2f %d\n", b - a, $1 + $2, $3 }' "$work_dir/time"
}

load_start="$(cut -d' ' -f1-3 /proc/loadavg)"
IFS=, read -r -a log_list <<<"$logs"
IFS=, read -r -a rate_list <<<"$rates"
for log in "${log_list[@]}"; do
    for rate in "${rate_list[@]}"; do
        input="$work_dir/$log-$rate.dat"
        echo "== $log $rate Hz $size MB" >&2
        "$generate" --log "$log" --rate "$rate" --size-mb "$size" -o "$input" >/dev/null
        declare -A wall=() cpu=() rss=()
        for ((run = 1; run <= runs; run++)); do
            out="$work_dir/out"
            rm -rf "$out" && mkdir "$out"
            read -r w c r < <(timed "$convert" -q -o "$out/bench.24O" "$input")
            wall[convert]+="$w "; cpu[convert]+="$c "
            for mode in crx crx.gz gz; do
                case $mode in crx) target="$out/bench.24D" ;; crx.gz) target="$out/bench.24D.gz" ;; gz) target="$out/bench.24O.gz" ;; esac
                rm -f "$target"
                read -r w c r < <(timed "$compress" "$mode" "$out/bench.24O" "$target")
                wall[$mode]+="$w "; cpu[$mode]+="$c "; rss[$mode]+="$r "
            done
            plain_bytes="$(stat -c %s "$out/bench.24O")"
            crx_bytes="$(stat -c %s "$out/bench.24D")"
            crxgz_bytes="$(stat -c %s "$out/bench.24D.gz")"
            gz_bytes="$(stat -c %s "$out/bench.24O.gz")"
            rm -rf "$out" && mkdir "$out"
            read -r w c r < <(timed "$convert" -q --compress crx -o "$out/bench.24O" "$input")
            wall[streamed]+="$w "; cpu[streamed]+="$c "; rss[streamed]+="$r "
            echo "   run $run: convert $(awk '{ print $NF }' <<<"${wall[convert]}") s, crx $(awk '{ print $NF }' <<<"${wall[crx]}") s, convert --compress crx $w s" >&2
        done
        rm -rf "$work_dir/out" "$input"
        m() { tr ' ' '\n' <<<"$1" | grep . | median; }
        b() { tr ' ' '\n' <<<"$1" | grep . | best; }
        cw="$(m "${wall[convert]}")"; cc="$(m "${cpu[convert]}")"
        xw="$(m "${wall[crx]}")"; xc="$(m "${cpu[crx]}")"; xr="$(m "${rss[crx]}")"
        cb="$(b "${wall[convert]}")"; xb="$(b "${wall[crx]}")"
        zw="$(m "${wall[crx.gz]}")"; zc="$(m "${cpu[crx.gz]}")"
        gw="$(m "${wall[gz]}")"; gc="$(m "${cpu[gz]}")"
        sw="$(m "${wall[streamed]}")"; sc="$(m "${cpu[streamed]}")"; sb="$(b "${wall[streamed]}")"; sr="$(m "${rss[streamed]}")"
        awk -v lg="$log" -v sw="$sw" -v sc="$sc" -v sb="$sb" -v sr="$sr" -v rate="$rate" -v cw="$cw" -v cc="$cc" -v xw="$xw" -v xc="$xc" -v xr="$xr" -v cb="$cb" -v xbest="$xb" \
            -v zw="$zw" -v zc="$zc" -v gw="$gw" -v gc="$gc" -v pb="$plain_bytes" -v xb="$crx_bytes" \
            -v zb="$crxgz_bytes" -v gb="$gz_bytes" 'BEGIN {
            printf "| %s | %d Hz | %.1f | %.3f (%.2f) | %.3f (%.2f) | %.2f (%.2f) | %.3f | %.3f | %.2f | %.1f | %.3f (%.2f) | %.3f (%.2f) | %.1f | %.1f | %.1f | %.1f | %.3f (%.2f) | %.3f | **%+.0f %%** | **%+.0f %%** | %.1f |\n",
                lg, rate, pb / 1e6, cw, cc, xw, xc, xw / cw, (cc > 0 ? xc / cc : 0), cb, xbest, xbest / cb, pb / 1e6 / xw, zw, zc, gw, gc,
                xr / 1024, xb / 1e6, zb / 1e6, gb / 1e6, sw, sc, sb, 100 * (sw / cw - 1), 100 * (sb / cb - 1), sr / 1024 }' >>"$work_dir/rows"
        unset wall cpu rss
    done
done

{
    echo "Compression of the observation file, median of $runs runs (MB = 10^6 bytes; seconds wall (CPU))"
    echo "load average at start: $load_start; at end: $(cut -d' ' -f1-3 /proc/loadavg)"
    echo
    echo "| log | rate | obs MB | convert s | crx s | crx / convert | convert best s | crx best s | best / best | crx MB/s | crx.gz s | gz s | crx peak RSS MB | crx MB | crx.gz MB | gz MB | --compress crx s | --compress crx best s | added median | added best | --compress crx peak RSS MB |"
    echo "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
    cat "$work_dir/rows"
} | tee ${results:+"$results"}
