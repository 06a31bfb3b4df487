// SPDX-License-Identifier: MIT
#pragma once
// Builds board frames for the ephemeris, ionosphere/UTC, position and time logs from the
// decoders' record structs: the exact inverse of the decoders, with the minimum body sizes.
// The record's own LogHeader is ignored; the frame's header comes from the FrameStamp.
#include <cstddef>
#include <cstdint>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/position_time.h"
#include "encoder/board_frame.h"

namespace encoding {

// Body sizes written by the encoders (the decoders' minimum lengths).
constexpr size_t kGpsEphemerisBodySize = 224;
constexpr size_t kGlonassEphemerisBodySize = 144;
constexpr size_t kIonoUtcBodySize = 108;
constexpr size_t kBd2EphemerisBodySize = 232;
constexpr size_t kBeidouEphemerisBodySize = 196;
constexpr size_t kGalileoEphemerisBodySize = 220;
constexpr size_t kGalileoInavEphemerisBodySize = 184;
constexpr size_t kGalileoFnavEphemerisBodySize = 172;
constexpr size_t kPsrPosBodySize = 72;
constexpr size_t kTimeBodySize = 44;

// Message bodies, field by field in body order.
Bytes encodeLogBody(const decoding::GpsEphemeris& record);
Bytes encodeLogBody(const decoding::GlonassEphemeris& record);
Bytes encodeLogBody(const decoding::IonoUtcParameters& record);
Bytes encodeLogBody(const decoding::Bd2Ephemeris& record);
Bytes encodeLogBody(const decoding::BeidouEphemeris& record);
Bytes encodeLogBody(const decoding::GalileoEphemeris& record);
Bytes encodeLogBody(const decoding::GalileoInavEphemeris& record);
Bytes encodeLogBody(const decoding::GalileoFnavEphemeris& record);
Bytes encodeLogBody(const decoding::PositionSolution& record);
Bytes encodeLogBody(const decoding::TimeSolution& record);

// Complete frames (sync, header, body, CRC) with the record type's message id:
// GPSEPHEM 7, GLOEPHEMERIS 723, BD2EPHEM 1047, BDSEPHEMERIS 1696, GALEPHEMERIS 1122,
// GALINAVEPHEMERIS 1309, GALFNAVEPHEMERIS 1310, PSRPOS 47, TIME 101.
Bytes encodeLogFrame(const decoding::GpsEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::GlonassEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::Bd2Ephemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::BeidouEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::GalileoEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::GalileoInavEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::GalileoFnavEphemeris& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::PositionSolution& record, const FrameStamp& stamp);
Bytes encodeLogFrame(const decoding::TimeSolution& record, const FrameStamp& stamp);
// The same body serves IONUTC (8), IONUTC_U (6), BD2IONUTC (2010) and QZSSIONUTC (1347).
Bytes encodeLogFrame(const decoding::IonoUtcParameters& record, const FrameStamp& stamp,
                     uint16_t messageId = decoding::LogIonUtc);

// The week and milliseconds of a record's header as a stamp (time status: the stamp default).
FrameStamp stampOf(const decoding::LogHeader& header);

} // namespace encoding
