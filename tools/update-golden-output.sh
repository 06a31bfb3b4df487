#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Rewrites the golden outputs in tests/data/golden/ with the converter built in build/
# (or the one given with --convert). Only for a deliberate change of the output: the golden
# test exists to catch every unintended one.
#   tools/update-golden-output.sh [--convert PATH]
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
convert="$repo/build/cli/velmoor-convert"
[ "${1:-}" = "--convert" ] && convert="$2"
golden="$repo/tests/data/golden"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

inputs=("$repo/samples/cebr-sample.dat" "$repo"/tests/data/streams/*.dat)
for input in "${inputs[@]}"; do
    stem="$(basename "$input" .dat)"
    for variant in default mode-none mode-only rinex-3.02; do
        case "$variant" in
        default) args=() ;;
        mode-none) args=(--mode none) ;;
        mode-only) args=(--mode only) ;;
        rinex-3.02) args=(--rinex 3.02) ;;
        esac
        out="$work/$stem/$variant"
        mkdir -p "$out" "$golden/$stem/$variant"
        "$convert" -q "${args[@]}" -o "$out/$stem.xxO" "$input"
        for letter in O N G L C; do
            gzip -9 -n -c "$out/$stem.xx$letter" > "$golden/$stem/$variant/$stem.$letter.gz"
        done
    done
done
echo "golden outputs written to $golden"
