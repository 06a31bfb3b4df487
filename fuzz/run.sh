#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzz targets (clang, libFuzzer, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs each for SECONDS, one process each, one after another.
#
#   fuzz/run.sh [SECONDS] [TARGET...]     default: 60 s, targets stream writer header options compact_rinex rinex
#
# Build and corpora live in build-fuzz/ (FUZZ_BUILD_DIR overrides): seeds/<target> are made
# from the bundled sample and the test streams, corpus/<target> keeps what the fuzzer finds
# across runs, artifacts/<target> receives crashing inputs, logs/<target>.log the output.
# The saved regression inputs of fuzz/regressions/<target> are replayed first.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(stream writer header options compact_rinex rinex)
build=${FUZZ_BUILD_DIR:-$root/build-fuzz}

cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELMOOR_FUZZ=ON -DVELMOOR_TESTS=OFF >/dev/null
# The board targets share seeds cut from the receiver data files; compact_rinex and rinex have
# their own.
board=0
for t in "${targets[@]}"; do [ "$t" != compact_rinex ] && [ "$t" != rinex ] && board=1; done
build_targets=()
[ $board -eq 1 ] && build_targets+=(fuzz_make_seeds)
for t in "${targets[@]}"; do build_targets+=("${t}_fuzzer"); done
cmake --build "$build" -j "${FUZZ_BUILD_JOBS:-2}" --target "${build_targets[@]}"

if [ $board -eq 1 ] && [ ! -d "$build/seeds/stream" ]; then
    mkdir -p "$build/seeds/stream" "$build/seeds/writer" "$build/seeds/header"
    "$build/fuzz/fuzz_make_seeds" "$build/seeds" "$root/samples/cebr-sample.dat" "$root"/tests/data/streams/*.dat
fi
if [ ! -d "$build/seeds/options" ]; then
    mkdir -p "$build/seeds/options"
    printf '2018-07-19 01:00:00\n2018-07-19T02:00:00.5\n30\nGE\n1\nESP\n1\n2\ncrx.gz\npt-17\n' >"$build/seeds/options/typical"
    printf '\n\n0.05\nGRECSJI\n0\nXXX\n0\n0\n\n\n' >"$build/seeds/options/defaults"
fi
if [ ! -d "$build/seeds/rinex" ]; then
    # RINEX seeds: pieces of the bundled observation and navigation files.
    mkdir -p "$build/seeds/rinex"
    data=$root/tests/data/rinex
    obs=$data/ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz
    nav=$data/ESBC00DNK_R_20201770000_03H_MN.rnx.gz
    # (zcat stops on a closed pipe: not an error here)
    { zcat "$obs" || true; } | head -c 20000 >"$build/seeds/rinex/obs"
    { { zcat "$obs" || true; } | head -c 12000; printf '@@NAV@@\n'; { zcat "$nav" || true; } | head -c 12000; } \
        >"$build/seeds/rinex/obs-nav"
    head -c 24000 "$data/CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx" >"$build/seeds/rinex/cebr"
    { head -c 8000 "$data/CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx"; printf '@@NAV@@\n'
      head -c 10000 "$data/ELKO00USA_R_20182100000_01D_MN_subset.rnx"; } >"$build/seeds/rinex/cebr-elko"
fi

if [ ! -d "$build/seeds/compact_rinex" ]; then
    # The first 8000 bytes of each RINEX observation file of the test data.
    mkdir -p "$build/seeds/compact_rinex"
    for f in "$root"/tests/data/rinex/*MO.rnx* "$root"/tests/data/rinex/*-obs.rnx; do
        zcat -f "$f" | head -c 8000 >"$build/seeds/compact_rinex/$(basename "$f" .gz)" || true # zcat stops early
    done
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
status=0
for t in "${targets[@]}"; do
    binary="$build/fuzz/${t}_fuzzer"
    mkdir -p "$build/corpus/$t" "$build/artifacts/$t" "$build/logs"
    options=(-artifact_prefix="$build/artifacts/$t/" -print_final_stats=1 -timeout=20 -rss_limit_mb=2048)
    [ -f "$root/fuzz/$t.dict" ] && options+=(-dict="$root/fuzz/$t.dict")
    case $t in
        stream) options+=(-max_len=20000) ;;
        writer) options+=(-max_len=16384) ;;
        header) options+=(-max_len=2048) ;;
        options) options+=(-max_len=512) ;;
        compact_rinex) options+=(-max_len=16384) ;;
        rinex) options+=(-max_len=30000) ;;
    esac
    regressions=("$root"/fuzz/regressions/"$t"/*)
    if [ -e "${regressions[0]}" ]; then
        echo "== $t: replaying ${#regressions[@]} regression inputs"
        "$binary" "${options[@]}" "${regressions[@]}" >"$build/logs/$t-regressions.log" 2>&1 || {
            echo "regression input fails, see $build/logs/$t-regressions.log"
            status=1
            continue
        }
    fi
    echo "== $t: fuzzing for $seconds s (log: $build/logs/$t.log)"
    if "$binary" "${options[@]}" -max_total_time="$seconds" "$build/corpus/$t" "$build/seeds/$t" \
        >"$build/logs/$t.log" 2>&1; then
        grep -E '^#[0-9]+[[:space:]]+DONE|^stat::number_of_executed_units' "$build/logs/$t.log" || true
    else
        echo "$t: finding, see $build/logs/$t.log and $build/artifacts/$t/"
        tail -n 30 "$build/logs/$t.log"
        status=1
    fi
done
exit $status
