#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Regenerates samples/cebr-sample.dat: builds velmoor-make-sample and runs it on the station
# RINEX files. Usage: tools/make-sample.sh [RINEX_DIR]
# RINEX_DIR holds CEBR00ESP_R_20182000000_03H_30S_MO.rnx and ELKO00USA_R_20182100000_01D_MN.rnx
# (default: $VELMOOR_RINEX_DIR, else ../shared/testdata/rinex beside the repository). Build directory: $BUILD_DIR,
# else build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
rinex=${1:-${VELMOOR_RINEX_DIR:-$root/../shared/testdata/rinex}}
build=${BUILD_DIR:-build}
obs=$rinex/CEBR00ESP_R_20182000000_03H_30S_MO.rnx
nav=$rinex/ELKO00USA_R_20182100000_01D_MN.rnx
for f in "$obs" "$nav"; do
    [ -f "$f" ] || { echo "make-sample: missing $f" >&2; exit 1; }
done

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target velmoor-make-sample -j "$(nproc)"

"$build/tools/velmoor-make-sample" "$obs" "$nav" \
    --header key --log rangecmp --start 2018-07-19T00:00:00 --epochs 60 \
    --nav-per-satellite 1 --ppk 20:6:PT01 \
    --set device.model="GEODETIC RECEIVER" --set antenna.name="CHOKE RING      NONE" \
    -o samples/cebr-sample.dat
