#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds the command-line converter and converts the bundled sample
# data file into out/. With --gui, builds the desktop application and opens the sample in it.
# Build directory: $BUILD_DIR, else build.
set -euo pipefail
cd "$(dirname "$0")"

gui=0
case "${1:-}" in
    --gui) gui=1 ;;
    "") ;;
    *) echo "usage: ./run.sh [--gui]" >&2; exit 2 ;;
esac

echo "== installing missing packages (if any)"
./scripts/install-deps.sh

build=${BUILD_DIR:-build}
echo "== configuring in $build"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
if [ $gui = 1 ]; then
    echo "== building velmoor"
    cmake --build "$build" --target velmoor -j "$(nproc)"
    exec "$build/shell/velmoor" samples/cebr-sample.dat
fi

echo "== building velmoor-convert"
cmake --build "$build" --target velmoor-convert -j "$(nproc)"

sample=samples/cebr-sample.dat
output=out/cebr-sample.18O
mkdir -p out
# The converter never overwrites: clear the outputs of an earlier run.
for letter in O N G L C; do
    rm -f "${output%?}$letter"
done

echo
echo "== converting $sample"
"$build/cli/velmoor-convert" -o "$output" "$sample"

echo
echo "== the five RINEX files (observations, GPS, GLONASS, Galileo and BeiDou navigation)"
ls -l "${output%?}"[ONGLC]
echo
echo "== start of $output"
head -n 12 "$output"
echo "..."
grep -m 1 -A 3 '^> ' "$output" | cut -c 1-80
