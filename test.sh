#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test through ctest.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "$(nproc)"
cd "$build"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j "$(nproc)" "$@"
