// libFuzzer entry point of the stream target.
#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::runStream(data, size);
    return 0;
}
