#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds, and runs every test through ctest.
#   ./test.sh [--sanitize] [--qt6] [ctest options]
set -euo pipefail
cd "$(dirname "$0")"
sanitize=0
qt6=0
while [ $# -gt 0 ]; do
    case "$1" in
        # The same suite built with AddressSanitizer and UndefinedBehaviorSanitizer.
        --sanitize) sanitize=1 ;;
        # The same suite built against Qt 6 instead of Qt 5.
        --qt6) qt6=1 ;;
        *) break ;;
    esac
    shift
done

build=build
options=(-DVELMOOR_QT_MAJOR=5)
deps=()
if [ $qt6 = 1 ]; then
    build=$build-qt6
    options=(-DVELMOOR_QT_MAJOR=6)
    deps=(--qt6)
fi
if [ $sanitize = 1 ]; then
    build=$build-asan
    options+=(-DVELMOOR_SANITIZE=ON)
fi
build=${BUILD_DIR:-$build}

./scripts/install-deps.sh "${deps[@]}"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)"
cd "$build"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j "$(nproc)" "$@"
