#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The tests of what crosses threads (the writer's output thread, the quality check it feeds)
# built with ThreadSanitizer and run; any report fails. Only these: Debian's Qt is not built
# with ThreadSanitizer, so tests that run Qt's event loop across threads report Qt's own
# locking.
#   scripts/thread-check.sh          (builds in build-tsan/, BUILD_DIR=... chooses another)
set -euo pipefail
cd "$(dirname "$0")/.."
tests=(output_pipeline_test output_thread_test conversion_feed_test fed_quality_check_test)
build=${BUILD_DIR:-build-tsan}
./scripts/install-deps.sh
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMOOR_SANITIZE_THREAD=ON >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${tests[@]}"
export QT_QPA_PLATFORM=offscreen TSAN_OPTIONS="halt_on_error=1 exitcode=66"
for t in "${tests[@]}"; do
    echo "== $t"
    "$build/tests/$t" --gtest_brief=1
done
echo "thread check: no report"
