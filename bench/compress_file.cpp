// SPDX-License-Identifier: MIT
// velmoor-bench-compress MODE INPUT OUTPUT: one compression of a finished file, for
// bench/compression.sh (MODE crx, gz or crx.gz).
#include <cstdio>
#include <cstring>
#include <string>

#include "compression/compact_rinex.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: velmoor-bench-compress crx|gz|crx.gz INPUT OUTPUT\n");
        return 2;
    }
    std::string error;
    bool ok = false;
    if (std::strcmp(argv[1], "crx") == 0)
        ok = compression::compactRinexFile(argv[2], argv[3], &error);
    else if (std::strcmp(argv[1], "gz") == 0)
        ok = compression::gzipFile(argv[2], argv[3], &error);
    else if (std::strcmp(argv[1], "crx.gz") == 0)
        ok = compression::compactRinexGzipFile(argv[2], argv[3], &error);
    else
        error = std::string("unknown mode ") + argv[1];
    if (!ok) std::fprintf(stderr, "%s\n", error.c_str());
    return ok ? 0 : 1;
}
