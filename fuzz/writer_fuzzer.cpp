// SPDX-License-Identifier: MIT
// libFuzzer entry point of the writer target: a broken invariant is a crash.
#include <cstdio>
#include <cstdlib>

#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string broken = fuzzing::runWriter(data, size);
    if (!broken.empty()) {
        std::fprintf(stderr, "writer target: %s\n", broken.c_str());
        std::abort();
    }
    return 0;
}
