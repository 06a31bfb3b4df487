// SPDX-License-Identifier: MIT
#include "sample_generator/header_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decoding/byte_order.h"

namespace sample_generator {

namespace {

// Indexed by the legacy record's height-type byte; the key header holds the same words.
const char* const kHeightTypes[] = {"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"};

std::string trimmed(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

std::string format(const char* pattern, double v) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, v);
    return text;
}

std::optional<double> number(const std::string& text) {
    const std::string t = trimmed(text);
    if (t.empty()) return std::nullopt;
    char* end = nullptr;
    const double v = std::strtod(t.c_str(), &end);
    if (*end != '\0' || !std::isfinite(v)) return std::nullopt;
    return v;
}

std::string valueOf(const HeaderValues& values, const std::string& key) {
    const auto it = values.texts.find(key);
    return it == values.texts.end() ? std::string() : it->second;
}

// Copies text into a fixed field, keeping room for the ending NUL byte.
void putText(encoding::Bytes& record, size_t offset, size_t size, const std::string& text, const char* what,
             std::vector<std::string>& warnings) {
    std::string t = text;
    if (t.size() > size - 1) {
        warnings.push_back(std::string("legacy header: ") + what + " cut to " + std::to_string(size - 1) +
                           " characters");
        t.resize(size - 1);
    }
    std::memcpy(record.data() + offset, t.data(), t.size());
}

// "HH:MM:SS" (exactly 8 bytes).
void putTime(encoding::Bytes& record, size_t offset, const rinex_input::ObsTime& t) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.hour % 100, t.minute % 100, int(t.second) % 100);
    std::memcpy(record.data() + offset, text, 8);
}

// A legacy antenna name has 19 characters; an IGS name with its radome has 20, so the
// radome is dropped then.
std::string legacyAntennaName(const std::string& name) {
    return name.size() <= 19 ? name : trimmed(name.substr(0, 16));
}

bool containsPattern(const encoding::Bytes& bytes, std::initializer_list<uint8_t> pattern) {
    const std::vector<uint8_t> p(pattern);
    for (size_t i = 0; i + p.size() <= bytes.size(); ++i)
        if (std::equal(p.begin(), p.end(), bytes.begin() + long(i))) return true;
    return false;
}

} // namespace

HeaderValues headerValuesOf(const rinex_input::ObsHeader& header,
                            const std::map<std::string, std::string>& overrides) {
    HeaderValues v;
    v.texts["device.model"] = trimmed(header.receiverType);
    v.texts["device.sn"] = trimmed(header.receiverNumber);
    v.texts["device.firmware"] = trimmed(header.receiverVersion);
    v.texts["marker.name"] = trimmed(header.markerName);
    v.texts["marker.number"] = trimmed(header.markerNumber);
    v.texts["antenna.name"] = trimmed(header.antennaType);
    // The RINEX delta H is already the vertical height of the reference point: no offsets.
    v.texts["antenna.measure"] = "0,0,0,0";
    v.texts["antenna.height"] = format("%.4f", header.antennaDeltaHen[0]);
    v.texts["antenna.height_type"] = "VERTICAL";
    for (const auto& [key, text] : overrides)
        v.texts[key] = text;
    v.antennaHeight = number(valueOf(v, "antenna.height")).value_or(0.0);

    // The receiver reports where its antenna is: the marker raised by the antenna height
    // (the converter lowers it again).
    const bool positionSet = overrides.count("position.latitude") || overrides.count("position.longitude") ||
                             overrides.count("position.height");
    if (positionSet) {
        const auto lat = number(valueOf(v, "position.latitude"));
        const auto lon = number(valueOf(v, "position.longitude"));
        const auto h = number(valueOf(v, "position.height"));
        if (lat && lon && h) {
            v.position = PositionDegrees{*lat, *lon, *h};
            v.xyz = ecefOf(PositionDegrees{*lat, *lon, *h - v.antennaHeight});
        }
    } else if (header.hasApproxPosition && (header.approxPosition[0] != 0 || header.approxPosition[1] != 0 ||
                                            header.approxPosition[2] != 0)) {
        v.xyz = header.approxPosition;
        v.position = positionDegreesOf(header.approxPosition);
        v.position->height += v.antennaHeight;
        v.texts["position.latitude"] = format("%.10f", v.position->latitude);
        v.texts["position.longitude"] = format("%.10f", v.position->longitude);
        v.texts["position.height"] = format("%.4f", v.position->height);
    }
    return v;
}

encoding::Bytes keyHeader(const HeaderValues& values, std::vector<std::string>& warnings) {
    std::string text = kKeyHeaderMagic;
    for (const std::string& key : headerKeys()) {
        const std::string value = valueOf(values, key);
        if (!value.empty()) text += "#" + key + "=" + value + "\r\n";
    }
    // Padding keeps the first frame out of the block that the converter parses as text.
    if (text.size() + 2 <= kKeyHeaderBlock) {
        text += std::string(kKeyHeaderBlock - text.size() - 2, ' ') + "\r\n";
    } else if (text.size() < kKeyHeaderBlock) {
        text += "\n";
    } else {
        warnings.push_back("key header is " + std::to_string(text.size()) +
                           " bytes: the converter reads only " + std::to_string(kKeyHeaderBlock));
    }
    return encoding::Bytes(text.begin(), text.end());
}

encoding::Bytes legacyHeader(const HeaderValues& values, const rinex_input::ObsTime& first,
                             const rinex_input::ObsTime& last, std::vector<std::string>& warnings) {
    encoding::Bytes r(kLegacyHeaderSize, 0);
    putText(r, 0, 58, std::string(kLegacyHeaderMagic) + valueOf(values, "device.sn") + "\n", "serial number",
            warnings);
    r[58] = uint8_t(first.day);
    r[59] = uint8_t(first.month);
    decoding::writeU16(r.data() + 60, uint16_t(first.year));
    const PositionDegrees position = values.position.value_or(PositionDegrees{});
    uint64_t bits;
    std::memcpy(&bits, &position.latitude, 8);
    decoding::writeU64(r.data() + 80, bits);
    std::memcpy(&bits, &position.longitude, 8);
    decoding::writeU64(r.data() + 88, bits);
    const float height = float(position.height);
    uint32_t bits32;
    std::memcpy(&bits32, &height, 4);
    decoding::writeU32(r.data() + 96, bits32);

    const double millimetres = std::round(values.antennaHeight * 1000.0);
    if (millimetres < 0 || millimetres > 65535)
        warnings.push_back("legacy header: antenna height outside 0..65.535 m, written as 0");
    decoding::writeU16(r.data() + 105, uint16_t(millimetres < 0 || millimetres > 65535 ? 0 : millimetres));
    putTime(r, 107, first);
    putTime(r, 115, last);
    putText(r, 125, 20, legacyAntennaName(valueOf(values, "antenna.name")), "antenna name", warnings);

    const std::string heightType = valueOf(values, "antenna.height_type");
    uint8_t typeIndex = 255;
    for (uint8_t i = 0; i < 5; ++i)
        if (heightType == kHeightTypes[i]) typeIndex = i;
    if (typeIndex == 255)
        warnings.push_back("legacy header: height type '" + heightType + "' has no index, written as 255");
    r[145] = typeIndex;

    uint32_t measures[4] = {0, 0, 0, 0};
    const std::string measure = valueOf(values, "antenna.measure");
    if (std::sscanf(measure.c_str(), "%u,%u,%u,%u", &measures[0], &measures[1], &measures[2], &measures[3]) !=
            4 &&
        !measure.empty())
        warnings.push_back("legacy header: antenna measure '" + measure +
                           "' is not four numbers, written as 0");
    for (int i = 0; i < 4; ++i)
        decoding::writeU32(r.data() + 147 + 4 * i, measures[i]);
    putText(r, 166, 15, valueOf(values, "device.firmware"), "application version", warnings);
    putText(r, 181, kLegacyHeaderSize - 181, valueOf(values, "marker.name"), "point name", warnings);

    if (containsPattern(r, {0xAA, 0x44, 0x12}) || containsPattern(r, {0xF5, 0x95}))
        warnings.push_back(
            "legacy header holds a frame sync pattern: the converter may lose the frames after it");
    return r;
}

encoding::Bytes fileHeader(HeaderKind kind, const HeaderValues& values, const rinex_input::ObsTime& first,
                           const rinex_input::ObsTime& last, std::vector<std::string>& warnings) {
    encoding::Bytes out;
    if (kind == HeaderKind::Legacy || kind == HeaderKind::Both)
        out = legacyHeader(values, first, last, warnings);
    if (kind == HeaderKind::Key || kind == HeaderKind::Both) {
        const encoding::Bytes key = keyHeader(values, warnings);
        out.insert(out.end(), key.begin(), key.end());
    }
    return out;
}

} // namespace sample_generator
