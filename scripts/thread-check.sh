#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The tests of what crosses threads (the writer's output thread, the quality check it feeds)
# built with ThreadSanitizer and run; any report fails. Only these: Debian's Qt is not built
# with ThreadSanitizer, so tests that run Qt's event loop across threads report Qt's own
# locking.
#   scripts/thread-check.sh          (builds in build-tsan/, BUILD_DIR=... chooses another)
set -euo pipefail
cd "$(dirname "$0")/.."
tests=(output_pipeline_test output_thread_test conversion_feed_test fed_quality_check_test feed_split_test)
build=${BUILD_DIR:-build-tsan}
./scripts/install-deps.sh

# Some kernels lay out memory where ThreadSanitizer's runtime cannot work: say so and stop
# rather than fail on something that is not a race.
probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
printf '#include <thread>\nint main() { std::thread t([] {}); t.join(); }\n' >"$probe/p.cpp"
if ! "${CXX:-c++}" -fsanitize=thread -pthread "$probe/p.cpp" -o "$probe/p" 2>"$probe/log" || ! "$probe/p" 2>>"$probe/log"; then
    echo "ThreadSanitizer does not run on this machine: thread check skipped" >&2
    sed -n 1,3p "$probe/log" >&2
    exit 0
fi

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMOOR_SANITIZE_THREAD=ON >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${tests[@]}"
export QT_QPA_PLATFORM=offscreen TSAN_OPTIONS="halt_on_error=1 exitcode=66"
for t in "${tests[@]}"; do
    echo "== $t"
    "$build/tests/$t" --gtest_brief=1
done
echo "thread check: no report"
