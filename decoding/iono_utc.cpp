// SPDX-License-Identifier: MIT
#include "decoding/iono_utc.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kMinimumBody = 108;

bool isIonoUtcId(uint16_t id) {
    return id == LogIonUtcU || id == LogIonUtc || id == LogBd2IonUtc || id == LogQzssIonUtc;
}
} // namespace

int decodeIonoUtc(const uint8_t* frame, const LogHeader& header, IonoUtcParameters& record) {
    if (header.messageLength < kMinimumBody) return -1;
    if (!isIonoUtcId(header.messageId)) return -1;
    record = IonoUtcParameters{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    for (int i = 0; i < 4; ++i)
        record.alpha[i] = readF64(b + 8 * i);
    for (int i = 0; i < 4; ++i)
        record.beta[i] = readF64(b + 32 + 8 * i);
    record.utcWeek = readU32(b + 64);
    record.utcTime = readU32(b + 68);
    record.a0 = readF64(b + 72);
    record.a1 = readF64(b + 80);
    record.leapWeek = readU32(b + 88);
    record.leapDay = readU32(b + 92);
    record.leapSeconds = readU32(b + 96);
    record.leapSecondsFuture = readU32(b + 100);
    record.last = readU32(b + 104);
    return 0;
}

} // namespace decoding
