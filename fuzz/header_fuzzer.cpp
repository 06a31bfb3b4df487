// libFuzzer entry point of the header target.
#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::runHeader(data, size);
    return 0;
}
