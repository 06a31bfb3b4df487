// SPDX-License-Identifier: MIT
#include "sample_generator/nav_frames.h"

#include <algorithm>
#include <exception>
#include <tuple>

#include "encoder/nav_encoder.h"

namespace sample_generator {

namespace {

template <class Record> StampedFrame stamped(const Record& record) {
    StampedFrame f;
    f.stamp = encoding::stampOf(record.header);
    f.messageId = record.header.messageId;
    f.frame = encoding::encodeLogFrame(record, f.stamp);
    return f;
}

} // namespace

std::vector<StampedFrame> ephemerisFrames(const rinex_input::NavFile& nav, int leapSeconds,
                                          size_t perSatellite, std::map<std::string, size_t>& skipped) {
    std::vector<StampedFrame> frames;
    std::map<std::tuple<char, int, bool>, size_t> perKind;
    for (const rinex_input::NavRecord& r : nav.records) {
        try {
            bool fnav = false;
            if (r.system == 'E') fnav = rinex_input::isGalileoFnav(r);
            if (r.system != 'G' && r.system != 'R' && r.system != 'E' && r.system != 'C') {
                ++skipped[std::string(1, r.system) + ": no ephemeris log for the system"];
                continue;
            }
            size_t& count = perKind[std::make_tuple(r.system, r.satellite, fnav)];
            if (perSatellite != 0 && count >= perSatellite) continue;
            switch (r.system) {
            case 'G':
                frames.push_back(stamped(rinex_input::toGpsEphemeris(r)));
                break;
            case 'R':
                frames.push_back(stamped(rinex_input::toGlonassEphemeris(r, leapSeconds)));
                break;
            case 'E':
                frames.push_back(fnav ? stamped(rinex_input::toGalileoFnavEphemeris(r))
                                      : stamped(rinex_input::toGalileoInavEphemeris(r)));
                break;
            default:
                frames.push_back(stamped(rinex_input::toBeidouEphemeris(r)));
                break;
            }
            ++count;
        } catch (const std::exception& e) {
            ++skipped[std::string(1, r.system) + ": " + e.what()];
        }
    }
    std::stable_sort(frames.begin(), frames.end(), [](const StampedFrame& a, const StampedFrame& b) {
        return std::make_tuple(a.stamp.week, a.stamp.milliseconds) <
               std::make_tuple(b.stamp.week, b.stamp.milliseconds);
    });
    return frames;
}

std::optional<decoding::IonoUtcParameters> ionoUtcOf(const rinex_input::NavHeader& header) {
    if (!header.ionoCorrection("GPSA") && !header.ionoCorrection("GPSB") && !header.timeCorrection("GPUT") &&
        !header.leapSeconds)
        return std::nullopt;
    return rinex_input::toIonoUtcParameters(header);
}

} // namespace sample_generator
