// SPDX-License-Identifier: MIT
#include "encoder/nav_encoder.h"

namespace encoding {

Bytes encodeLogBody(const decoding::GpsEphemeris& r) {
    BodyWriter w(kGpsEphemerisBodySize);
    w.u32(0, r.satellite).f64(4, r.tow).u32(12, r.health).u32(16, r.iode1).u32(20, r.iode2);
    w.u32(24, r.week).u32(28, r.zWeek).f64(32, r.toe).f64(40, r.a).f64(48, r.deltaN).f64(56, r.m0);
    w.f64(64, r.eccentricity).f64(72, r.omega).f64(80, r.cuc).f64(88, r.cus).f64(96, r.crc);
    w.f64(104, r.crs).f64(112, r.cic).f64(120, r.cis).f64(128, r.i0).f64(136, r.iDot);
    w.f64(144, r.omega0).f64(152, r.omegaDot).u32(160, r.iodc).f64(164, r.toc).f64(172, r.tgd);
    w.f64(180, r.af0).f64(188, r.af1).f64(196, r.af2).u32(204, r.antiSpoofing);
    w.f64(208, r.correctedMeanMotion).f64(216, r.uraVariance);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::GlonassEphemeris& r) {
    BodyWriter w(kGlonassEphemerisBodySize);
    w.u16(0, r.slot).u16(2, r.frequency).u8(4, r.satelliteType).u16(6, r.week);
    w.u32(8, r.referenceTime).u32(12, r.timeOffset).u16(16, r.dayNumber).u32(20, r.issue);
    w.u32(24, r.health).f64(28, r.x).f64(36, r.y).f64(44, r.z).f64(52, r.vx).f64(60, r.vy);
    w.f64(68, r.vz).f64(76, r.ax).f64(84, r.ay).f64(92, r.az).f64(100, r.tauN);
    w.f64(108, r.deltaTauN).f64(116, r.gammaN).u32(124, r.tk).u32(128, r.pFlags).u32(132, r.ft);
    w.u32(136, r.ageOfData).u32(140, r.flags);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::IonoUtcParameters& r) {
    BodyWriter w(kIonoUtcBodySize);
    for (int i = 0; i < 4; ++i)
        w.f64(8 * i, r.alpha[i]);
    for (int i = 0; i < 4; ++i)
        w.f64(32 + 8 * i, r.beta[i]);
    w.u32(64, r.utcWeek).u32(68, r.utcTime).f64(72, r.a0).f64(80, r.a1).u32(88, r.leapWeek);
    w.u32(92, r.leapDay).u32(96, r.leapSeconds).u32(100, r.leapSecondsFuture).u32(104, r.last);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::Bd2Ephemeris& r) {
    BodyWriter w(kBd2EphemerisBodySize);
    w.u32(0, r.satellite).f64(4, r.tow).u32(12, r.health).u32(16, r.aode).u32(24, r.week);
    w.u32(28, r.week2).f64(32, r.toe).f64(40, r.a).f64(48, r.deltaN).f64(56, r.m0);
    w.f64(64, r.eccentricity).f64(72, r.omega).f64(80, r.cuc).f64(88, r.cus).f64(96, r.crc);
    w.f64(104, r.crs).f64(112, r.cic).f64(120, r.cis).f64(128, r.i0).f64(136, r.iDot);
    w.f64(144, r.omega0).f64(152, r.omegaDot).u32(160, r.aodc).f64(164, r.toc).f64(172, r.tgd1);
    w.f64(180, r.a0).f64(188, r.a1).f64(196, r.a2).f64(204, r.tgd2).u32(212, r.antiSpoofing);
    w.f64(216, r.correctedMeanMotion).f64(224, r.uraVariance);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::BeidouEphemeris& r) {
    BodyWriter w(kBeidouEphemerisBodySize);
    w.u32(0, r.satellite).u32(4, r.week).f64(8, r.ura).u32(16, r.health).f64(20, r.tgd1);
    w.f64(28, r.tgd2).u32(36, r.aodc).u32(40, r.toc).f64(44, r.a0).f64(52, r.a1).f64(60, r.a2);
    w.u32(68, r.aode).u32(72, r.toe).f64(76, r.sqrtA).f64(84, r.eccentricity).f64(92, r.omega);
    w.f64(100, r.deltaN).f64(108, r.m0).f64(116, r.omega0).f64(124, r.omegaDot).f64(132, r.i0);
    w.f64(140, r.iDot).f64(148, r.cuc).f64(156, r.cus).f64(164, r.crc).f64(172, r.crs);
    w.f64(180, r.cic).f64(188, r.cis);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::GalileoEphemeris& r) {
    BodyWriter w(kGalileoEphemerisBodySize);
    w.u32(0, r.satellite).u32(4, r.fnavReceived).u32(8, r.inavReceived);
    w.u8(12, r.e1bHealth).u8(13, r.e5aHealth).u8(14, r.e5bHealth).u8(15, r.e1bDvs);
    w.u8(16, r.e5aDvs).u8(17, r.e5bDvs).u8(18, r.sisaIndex).u8(19, r.reserved);
    w.u32(20, r.iodNav).u32(24, r.toe).f64(28, r.sqrtA).f64(36, r.deltaN).f64(44, r.m0);
    w.f64(52, r.eccentricity).f64(60, r.omega).f64(68, r.cuc).f64(76, r.cus).f64(84, r.crc);
    w.f64(92, r.crs).f64(100, r.cic).f64(108, r.cis).f64(116, r.i0).f64(124, r.iDot);
    w.f64(132, r.omega0).f64(140, r.omegaDot).u32(148, r.fnavToc).f64(152, r.fnavAf0);
    w.f64(160, r.fnavAf1).f64(168, r.fnavAf2).u32(176, r.inavToc).f64(180, r.inavAf0);
    w.f64(188, r.inavAf1).f64(196, r.inavAf2).f64(204, r.bgdE5aE1).f64(212, r.bgdE5bE1);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::GalileoInavEphemeris& r) {
    BodyWriter w(kGalileoInavEphemerisBodySize);
    w.u32(0, r.satellite).u8(4, r.e5bHealth).u8(5, r.e5bDvs).u8(6, r.reserved1).u8(7, r.reserved2);
    w.u8(8, r.e1bHealth).u8(9, r.e1bDvs).u8(10, r.reserved3).u8(11, r.reserved4);
    w.u16(12, r.iodNav).u8(14, r.sisaIndex).u8(15, r.inavSource).u32(16, r.toe).u32(20, r.toc);
    w.f64(24, r.m0).f64(32, r.deltaN).f64(40, r.eccentricity).f64(48, r.sqrtA).f64(56, r.i0);
    w.f64(64, r.iDot).f64(72, r.omega0).f64(80, r.omega).f64(88, r.omegaDot).f64(96, r.cuc);
    w.f64(104, r.cus).f64(112, r.crc).f64(120, r.crs).f64(128, r.cic).f64(136, r.cis);
    w.f64(144, r.af0).f64(152, r.af1).f64(160, r.af2).f64(168, r.bgdE5aE1).f64(176, r.bgdE5bE1);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::GalileoFnavEphemeris& r) {
    BodyWriter w(kGalileoFnavEphemerisBodySize);
    w.u32(0, r.satellite).u8(4, r.e5aHealth).u8(5, r.e5aDvs).u8(6, r.reserved1).u8(7, r.reserved2);
    w.u16(8, r.iodNav).u8(10, r.sisaIndex).u8(11, r.reserved3).u32(12, r.toe).u32(16, r.toc);
    w.f64(20, r.m0).f64(28, r.deltaN).f64(36, r.eccentricity).f64(44, r.sqrtA).f64(52, r.i0);
    w.f64(60, r.iDot).f64(68, r.omega0).f64(76, r.omega).f64(84, r.omegaDot).f64(92, r.cuc);
    w.f64(100, r.cus).f64(108, r.crc).f64(116, r.crs).f64(124, r.cic).f64(132, r.cis);
    w.f64(140, r.af0).f64(148, r.af1).f64(156, r.af2).f64(164, r.bgdE5aE1);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::PositionSolution& r) {
    BodyWriter w(kPsrPosBodySize);
    w.u32(0, r.solutionStatus).u32(4, r.positionType).f64(8, r.latitude).f64(16, r.longitude);
    w.f64(24, r.height).f32(32, r.undulation).u32(36, r.datumId).f32(40, r.latitudeStd);
    w.f32(44, r.longitudeStd).f32(48, r.heightStd);
    for (int i = 0; i < 4; ++i)
        w.u8(52 + i, r.stationId[i]);
    w.f32(56, r.differentialAge).f32(60, r.solutionAge).u8(64, r.satellitesTracked);
    w.u8(65, r.satellitesInSolution).u8(71, r.signalMask);
    return w.bytes();
}

Bytes encodeLogBody(const decoding::TimeSolution& r) {
    BodyWriter w(kTimeBodySize);
    w.u32(0, r.clockStatus).f64(4, r.receiverClockOffset).f64(12, r.receiverClockOffsetStd);
    w.f64(20, r.utcOffset).u32(28, r.utcYear).u8(32, r.utcMonth).u8(33, r.utcDay);
    w.u8(34, r.utcHour).u8(35, r.utcMinute).u32(36, r.utcMilliseconds).u32(40, r.utcStatus);
    return w.bytes();
}

Bytes encodeLogFrame(const decoding::GpsEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogGpsEphem, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::GlonassEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogGloEphemeris, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::Bd2Ephemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogBd2Ephem, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::BeidouEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogBdsEphemeris, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::GalileoEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogGalEphemeris, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::GalileoInavEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogGalInavEphemeris, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::GalileoFnavEphemeris& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogGalFnavEphemeris, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::PositionSolution& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogPsrPos, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::TimeSolution& record, const FrameStamp& stamp) {
    return boardFrame(decoding::LogTime, stamp, encodeLogBody(record));
}
Bytes encodeLogFrame(const decoding::IonoUtcParameters& record, const FrameStamp& stamp, uint16_t messageId) {
    return boardFrame(messageId, stamp, encodeLogBody(record));
}

FrameStamp stampOf(const decoding::LogHeader& header) {
    FrameStamp stamp;
    stamp.week = header.week;
    stamp.milliseconds = header.milliseconds;
    return stamp;
}

} // namespace encoding
