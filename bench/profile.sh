#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Instruction counts of velmoor-convert under callgrind: exact and repeatable on a busy
# machine, so before/after comparisons of hot spots use them rather than times.
#
#   bench/profile.sh [--log rangecmp] [--rate 20] [--size-mb 20] [--seed 1] [--top 15]
#                    [--nav-every S] [--nav-update S]
#                    [--build-dir DIR] [--no-build] [--keep DIR]
#                    [LABEL=CONVERTER ...]
#
# Generates one input with velmoor-bench-stream, converts it under callgrind with each
# converter given (default: this tree's, built RelWithDebInfo in build-bench/profile) and
# prints each one's total instruction count and its most expensive functions (self cost).
# --keep DIR keeps the callgrind output files there (callgrind_annotate reads them).
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
log=rangecmp
rate=20
size=20
seed=1
top=15
build_dir="$repo/build-bench/profile"
build=1
keep=""
converters=()
nav_options=()

while [ $# -gt 0 ]; do
    case "$1" in
    --log) log="$2"; shift 2 ;;
    --rate) rate="$2"; shift 2 ;;
    --size-mb) size="$2"; shift 2 ;;
    --seed) seed="$2"; shift 2 ;;
    --top) top="$2"; shift 2 ;;
    --nav-every | --nav-update) nav_options+=("$1" "$2"); shift 2 ;;
    --build-dir) build_dir="$2"; shift 2 ;;
    --no-build) build=0; shift ;;
    --keep) keep="$2"; shift 2 ;;
    -h | --help) sed -n '2,15p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *=*) converters+=("$1"); shift ;;
    *) echo "profile.sh: unknown argument '$1'" >&2; exit 2 ;;
    esac
done

command -v valgrind >/dev/null || { echo "profile.sh: valgrind is needed (apt-get install valgrind)" >&2; exit 1; }

if [ "$build" -eq 1 ]; then
    echo "== building (RelWithDebInfo) in $build_dir" >&2
    cmake -S "$repo" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMOOR_TESTS=OFF >/dev/null
    cmake --build "$build_dir" -j"$(nproc)" --target velmoor-convert velmoor-bench-stream >/dev/null
fi
[ ${#converters[@]} -gt 0 ] || converters=("this-tree=$build_dir/cli/velmoor-convert")

work_dir="$(mktemp -d "${TMPDIR:-/tmp}/velmoor-profile.XXXXXX")"
trap 'rm -rf "$work_dir"' EXIT
[ -z "$keep" ] || mkdir -p "$keep"

input="$work_dir/input.dat"
"$build_dir/bench/velmoor-bench-stream" --log "$log" --rate "$rate" --size-mb "$size" --seed "$seed" ${nav_options[@]+"${nav_options[@]}"} \
    -o "$input" >"$work_dir/summary"
echo "input: $log, $rate Hz, $(awk -F= '$1 == "bytes" { print $2 }' "$work_dir/summary") bytes," \
    "$(awk -F= '$1 == "epochs" { print $2 }' "$work_dir/summary") epochs"

for entry in "${converters[@]}"; do
    label="${entry%%=*}"
    convert="${entry#*=}"
    out="$work_dir/out"
    rm -rf "$out"
    mkdir "$out"
    cg="$work_dir/callgrind.$label.out"
    valgrind --tool=callgrind --callgrind-out-file="$cg" "$convert" -q -o "$out/profile.24O" "$input" \
        2>"$work_dir/valgrind.log"
    total="$(awk '/^totals:/ { print $2 }' "$cg")"
    echo
    echo "== $label: $total instructions ($convert)"
    callgrind_annotate "$cg" 2>/dev/null | awk -v top="$top" '
        /^Ir/ && ++header == 2 { listing = 1; next }
        listing && /^-+$/ { next }
        listing && NF == 0 && shown { exit }
        listing && NF > 0 && shown < top { sub(/ \[.*\]$/, ""); print; shown++ }' || true # awk may stop reading early
    [ -z "$keep" ] || cp "$cg" "$keep/"
done
