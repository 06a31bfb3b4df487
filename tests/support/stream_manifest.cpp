// SPDX-License-Identifier: MIT
#include "support/stream_manifest.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <zlib.h>

namespace testsupport {

using nlohmann::json;

std::string readGzipFile(const std::string& path) {
    gzFile file = gzopen(path.c_str(), "rb");
    if (!file) throw std::runtime_error("cannot open " + path);
    gzbuffer(file, 1 << 17);
    std::string out;
    char chunk[1 << 16];
    for (;;) {
        int n = gzread(file, chunk, sizeof chunk);
        if (n < 0) {
            int code = 0;
            std::string message = gzerror(file, &code);
            gzclose(file);
            throw std::runtime_error("cannot read " + path + ": " + message);
        }
        if (n == 0) break;
        out.append(chunk, size_t(n));
    }
    gzclose(file);
    return out;
}

std::string readBinaryFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string streamDataDirectory() {
    return std::string(VELMOOR_TEST_DATA) + "/streams";
}

namespace {

template <typename T> T valueOr(const json& object, const char* name, T fallback) {
    auto it = object.find(name);
    if (it == object.end() || it->is_null()) return fallback;
    return it->get<T>();
}

std::optional<double> optionalNumber(const json& value) {
    if (value.is_null()) return std::nullopt;
    return value.get<double>();
}

template <size_t N> std::array<double, N> numbers(const json& value) {
    std::array<double, N> out{};
    if (!value.is_array() || value.size() != N)
        throw std::runtime_error("expected " + std::to_string(N) + " numbers");
    for (size_t i = 0; i < N; ++i)
        out[i] = value[i].get<double>();
    return out;
}

ObsValues parseObsValues(const json& value) {
    if (!value.is_array() || value.size() != 4) throw std::runtime_error("observation is not [C, L, D, S]");
    ObsValues out;
    out.pseudorange = value[0].get<double>();
    out.carrierPhase = optionalNumber(value[1]);
    out.doppler = value[2].get<double>();
    out.cn0 = value[3].get<double>();
    return out;
}

ManifestEpoch parseEpoch(const json& e) {
    ManifestEpoch out;
    out.index = e.at("index").get<int>();
    out.week = e.at("week").get<uint16_t>();
    out.ms = e.at("ms").get<uint32_t>();
    out.time = valueOr<std::string>(e, "time", "");
    out.frame = valueOr<int>(e, "frame", -1);
    out.written = valueOr<bool>(e, "written", true);
    out.corrupted = valueOr<bool>(e, "corrupted", false);
    if (auto it = e.find("ppk_sample"); it != e.end() && !it->is_null())
        out.ppkSample = std::make_pair(it->at("marker").get<int>(), it->at("k").get<int>());
    for (const auto& [sat, signals] : e.at("sats").items())
        for (const auto& [code, values] : signals.items())
            out.sats[sat][code] = parseObsValues(values);
    // Keys are satellite and code run together ("G281C"): three characters, then the code.
    if (auto it = e.find("phase_shift_cycles"); it != e.end())
        for (const auto& [key, cycles] : it->items()) {
            if (key.size() != 5) throw std::runtime_error("bad phase shift key " + key);
            out.phaseShiftCycles[key.substr(0, 3)][key.substr(3)] = cycles.get<double>();
        }
    return out;
}

NavRecord parseNav(const json& n) {
    NavRecord out;
    const std::string sys = n.at("sys").get<std::string>();
    out.sys = sys.empty() ? 0 : sys[0];
    out.sat = n.at("sat").get<int>();
    out.log = n.at("log").get<std::string>();
    out.id = n.at("id").get<int>();
    out.epoch = numbers<6>(n.at("epoch"));
    for (const auto& line : n.at("lines")) {
        std::vector<std::optional<double>> values;
        for (const auto& v : line)
            values.push_back(optionalNumber(v));
        out.lines.push_back(std::move(values));
    }
    out.expectedWritten = valueOr<bool>(n, "expected_written", false);
    out.corrupted = valueOr<bool>(n, "corrupted", false);
    out.frame = valueOr<int>(n, "frame", -1);
    out.headerWeek = valueOr<uint16_t>(n, "header_week", 0);
    out.headerMs = valueOr<uint32_t>(n, "header_ms", 0);
    if (auto it = n.find("key"); it != n.end() && it->is_array() && it->size() == 3) {
        NavKey key;
        const std::string keySys = (*it)[0].get<std::string>();
        key.sys = keySys.empty() ? 0 : keySys[0];
        key.number = (*it)[1].get<int>();
        key.referenceTime = (*it)[2].get<double>();
        out.key = key;
    }
    if (n.contains("ref_week")) out.refWeek = n.at("ref_week").get<uint16_t>();
    if (n.contains("ref_ms")) out.refMs = n.at("ref_ms").get<uint32_t>();
    if (n.contains("tk")) out.tk = n.at("tk").get<uint32_t>();
    if (n.contains("rinex_data_sources")) out.rinexDataSources = n.at("rinex_data_sources").get<int>();
    if (n.contains("rinex_health")) out.rinexHealth = n.at("rinex_health").get<int>();
    out.source = valueOr<std::string>(n, "source", "");
    out.note = valueOr<std::string>(n, "note", "");
    return out;
}

IonUtcRecord parseIonUtc(const json& j) {
    IonUtcRecord out;
    out.log = j.at("log").get<std::string>();
    out.id = j.at("id").get<int>();
    out.alpha = numbers<4>(j.at("alpha"));
    out.beta = numbers<4>(j.at("beta"));
    out.utcWeek = j.at("utc_week").get<int>();
    out.utcTot = j.at("utc_tot").get<int>();
    out.a0 = j.at("A0").get<double>();
    out.a1 = j.at("A1").get<double>();
    const json& leap = j.at("leap_line");
    if (leap.size() != 4) throw std::runtime_error("leap_line needs 4 values");
    for (size_t i = 0; i < 4; ++i)
        out.leapLine[i] = leap[i].get<int>();
    out.frame = valueOr<int>(j, "frame", -1);
    return out;
}

PpkMarker parsePpk(const json& j) {
    PpkMarker out;
    out.marker = j.at("marker").get<int>();
    out.id1 = j.at("id1").get<int>();
    out.id2 = j.at("id2").get<int>();
    out.name = valueOr<std::string>(j, "name", "");
    out.number = valueOr<std::string>(j, "number", "");
    out.antennaHeight = valueOr<double>(j, "antenna_height", 0.0);
    if (j.contains("xyz")) out.xyz = numbers<3>(j.at("xyz"));
    out.beginEpochIndex = valueOr<int>(j, "begin_epoch_index", -1);
    out.endAfterEpochIndex = valueOr<int>(j, "end_after_epoch_index", -1);
    out.beginSentence = valueOr<std::string>(j, "begin_sentence", "");
    for (const auto& s : j.at("samples")) {
        PpkSample sample;
        sample.k = s.at("k").get<int>();
        sample.epochIndex = s.at("epoch_index").get<int>();
        sample.week = s.at("week").get<uint16_t>();
        sample.ms = s.at("ms").get<uint32_t>();
        sample.time = valueOr<std::string>(s, "time", "");
        out.samples.push_back(sample);
    }
    return out;
}

ExpectedObsHeader parseObsHeader(const json& h) {
    ExpectedObsHeader out;
    out.markerName = valueOr<std::string>(h, "marker_name", "");
    out.markerNumber = valueOr<std::string>(h, "marker_number", "");
    out.markerType = valueOr<std::string>(h, "marker_type", "");
    if (auto it = h.find("receiver"); it != h.end() && it->size() == 3)
        for (size_t i = 0; i < 3; ++i)
            out.receiver[i] = (*it)[i].get<std::string>();
    out.antennaType = valueOr<std::string>(h, "antenna_type", "");
    if (h.contains("antenna_delta_hen")) out.antennaDeltaHen = numbers<3>(h.at("antenna_delta_hen"));
    if (auto it = h.find("antenna_height_comment"); it != h.end() && !it->is_null())
        out.antennaHeightComment = it->get<std::string>();
    out.approxPositionSource = valueOr<std::string>(h, "approx_position_source", "");
    if (h.contains("approx_position_xyz")) out.approxPositionXyz = numbers<3>(h.at("approx_position_xyz"));
    if (h.contains("rinex_input_approx_position_xyz"))
        out.rinexInputApproxPositionXyz = numbers<3>(h.at("rinex_input_approx_position_xyz"));
    if (h.contains("comments")) out.comments = h.at("comments").get<std::vector<std::string>>();
    out.leapSeconds = valueOr<int>(h, "leap_seconds", 0);
    if (auto it = h.find("obs_types"); it != h.end())
        for (const auto& [sys, types] : it->items())
            if (!sys.empty()) out.obsTypes[sys[0]] = types.get<std::vector<std::string>>();
    if (auto it = h.find("glonass_slots"); it != h.end())
        for (const auto& [slot, channel] : it->items())
            out.glonassSlots[slot] = channel.get<int>();
    out.interval = valueOr<double>(h, "interval", 0.0);
    out.timeOfFirstObs = valueOr<std::string>(h, "time_of_first_obs", "");
    out.timeOfLastObs = valueOr<std::string>(h, "time_of_last_obs", "");
    return out;
}

std::map<std::string, int> counts(const json& j, const char* name) {
    std::map<std::string, int> out;
    if (auto it = j.find(name); it != j.end() && it->is_object())
        for (const auto& [k, v] : it->items())
            out[k] = v.get<int>();
    return out;
}

} // namespace

StreamManifest loadStreamManifest(const std::string& path) {
    StreamManifest m;
    m.document = json::parse(readGzipFile(path));
    const json& d = m.document;

    m.stream = valueOr<std::string>(d, "stream", "");
    m.size = valueOr<uint64_t>(d, "size", 0);
    m.obsLog = valueOr<std::string>(d, "obs_log", "");
    m.leapSeconds = valueOr<int>(d, "leap_seconds", 0);
    if (auto it = d.find("header"); it != d.end()) {
        m.headerKind = valueOr<std::string>(*it, "kind", "");
        m.binaryOffset = valueOr<uint64_t>(*it, "binary_offset", 0);
        if (it->contains("values")) m.headerValues = it->at("values");
    }
    if (d.contains("expected_obs_header")) m.obsHeader = parseObsHeader(d.at("expected_obs_header"));
    for (const auto& e : d.at("epochs"))
        m.epochs.push_back(parseEpoch(e));
    for (const auto& n : d.at("nav"))
        m.nav.push_back(parseNav(n));
    if (auto it = d.find("ionutc"); it != d.end() && !it->is_null()) m.ionutc = parseIonUtc(*it);
    for (const auto& c : d.at("corrupted_frames")) {
        CorruptedFrame f;
        f.frame = c.at("frame").get<int>();
        f.offset = c.at("offset").get<uint64_t>();
        f.length = c.at("length").get<uint32_t>();
        f.id = c.at("id").get<uint16_t>();
        f.week = valueOr<uint16_t>(c, "week", 0);
        f.ms = valueOr<uint32_t>(c, "ms", 0);
        f.kind = valueOr<std::string>(c, "kind", "");
        m.corruptedFrames.push_back(f);
    }
    for (const auto& p : d.at("ppk"))
        m.ppk.push_back(parsePpk(p));
    for (const auto& t : d.at("text_lines")) {
        TextLine line;
        line.offset = t.at("offset").get<uint64_t>();
        line.kind = valueOr<std::string>(t, "kind", "");
        line.text = t.at("text").get<std::string>();
        m.textLines.push_back(std::move(line));
    }

    // Frames are rows whose column names are given once.
    std::vector<std::string> columns = {"index", "offset", "length", "id", "week", "ms"};
    if (d.contains("frames_columns")) columns = d.at("frames_columns").get<std::vector<std::string>>();
    std::map<std::string, size_t> column;
    for (size_t i = 0; i < columns.size(); ++i)
        column[columns[i]] = i;
    for (const char* name : {"index", "offset", "length", "id", "week", "ms"})
        if (!column.count(name)) throw std::runtime_error(std::string("frames lack the column ") + name);
    for (const auto& row : d.at("frames")) {
        ManifestFrame f;
        f.index = row.at(column["index"]).get<int>();
        f.offset = row.at(column["offset"]).get<uint64_t>();
        f.length = row.at(column["length"]).get<uint32_t>();
        f.id = row.at(column["id"]).get<uint16_t>();
        f.week = row.at(column["week"]).get<uint16_t>();
        f.ms = row.at(column["ms"]).get<uint32_t>();
        m.frames.push_back(f);
    }

    if (auto it = d.find("noise"); it != d.end() && it->is_object()) {
        m.noise.junkRuns = valueOr<int>(*it, "junk_runs", 0);
        m.noise.junkBytes = valueOr<uint64_t>(*it, "junk_bytes", 0);
        m.noise.noteLines = valueOr<int>(*it, "note_lines", 0);
    }
    m.skippedSignals = counts(d, "skipped_signals");
    m.notes = counts(d, "notes");
    return m;
}

} // namespace testsupport
