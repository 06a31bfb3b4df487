// SPDX-License-Identifier: MIT
#pragma once
// A board frame built from a log's body, with its header read back as the decoders see it.
#include <gtest/gtest.h>

#include <cstdint>

#include "decoding/log_header.h"
#include "encoder/board_frame.h"

namespace testsupport {

struct DecodedFrame {
    encoding::Bytes bytes;
    decoding::LogHeader header{};
};

// The frame of log id with the given body, stamped week 2010, 96 h into the week.
inline DecodedFrame frameOf(uint16_t id, const encoding::Bytes& body) {
    DecodedFrame f;
    f.bytes = encoding::boardFrame(id, {2010, 345600000}, body);
    EXPECT_EQ(decoding::readLogHeader(f.bytes.data(), uint32_t(f.bytes.size()), f.header), 0);
    return f;
}

} // namespace testsupport
