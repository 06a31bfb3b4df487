// libFuzzer entry point of the writer target.
#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::runWriter(data, size);
    return 0;
}
