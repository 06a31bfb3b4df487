#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test through ctest.
#   ./test.sh [--sanitize] [ctest options]
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh
build=${BUILD_DIR:-build}
options=()
# --sanitize: the same suite built with AddressSanitizer and UndefinedBehaviorSanitizer.
if [ "${1:-}" = "--sanitize" ]; then
    shift
    build=${BUILD_DIR:-build-asan}
    options=(-DVELMOOR_SANITIZE=ON)
fi
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)"
cd "$build"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j "$(nproc)" "$@"
