// SPDX-License-Identifier: MIT
#include "quality/check_files.h"

#include "quality/compressed_input.h"
#include "quality/navigation.h"
#include "quality/rinex_obs_reader.h"

namespace quality {

void readNavigationFiles(const std::vector<std::string>& paths, Navigation& navigation,
                         std::vector<std::string>& notes) {
    for (const std::string& path : paths) {
        std::string why;
        std::unique_ptr<std::istream> in = openInput(path, why);
        if (!in) {
            notes.push_back(why);
            continue;
        }
        if (!navigation.read(*in, why)) notes.push_back(path + ": " + why);
    }
    for (const std::string& p : navigation.problems())
        notes.push_back(p);
}

bool checkFiles(const std::string& observationPath, const std::vector<std::string>& navigationPaths,
                const Options& options, Report& report, std::string& error) {
    QualityCheck check(options);
    Navigation navigation;
    std::vector<std::string> notes;
    readNavigationFiles(navigationPaths, navigation, notes);

    std::unique_ptr<std::istream> in = openInput(observationPath, error);
    if (!in) return false;
    RinexObsReader reader(*in);
    ObservationHeader header;
    if (!reader.readHeader(header, error)) {
        error = observationPath + ": " + error;
        return false;
    }
    if (header.leapSeconds >= 0) navigation.setLeapSeconds(header.leapSeconds);
    check.setHeader(header);
    check.setNavigation(navigation.empty() ? nullptr : &navigation);
    for (const std::string& n : notes)
        check.addMessage(n);
    Epoch epoch;
    while (reader.next(epoch))
        check.addEpoch(epoch);
    for (const std::string& p : reader.problems())
        check.addMessage(observationPath + ": " + p);
    if (reader.problemCount() > reader.problems().size())
        check.addMessage(observationPath + ": " + std::to_string(reader.problemCount() - reader.problems().size()) +
                         " more problems");
    report = check.finish();
    return true;
}

namespace {

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isObservationFile(std::string name) {
    const size_t slash = name.find_last_of("/\\");
    if (slash != std::string::npos) name.erase(0, slash + 1);
    if (endsWith(name, ".gz")) name.resize(name.size() - 3);
    if (endsWith(name, ".rnx")) return endsWith(name, "_MO.rnx");
    return !name.empty() && name.back() == 'O';
}

} // namespace

std::string observationFileOf(const std::vector<std::string>& files) {
    for (const std::string& file : files)
        if (isObservationFile(file)) return file;
    return std::string();
}

bool checkConversionFiles(const std::vector<std::string>& files, const Options& options, Report& report,
                          std::string& error) {
    const std::string observation = observationFileOf(files);
    if (observation.empty()) {
        error = "no observation file to check";
        return false;
    }
    std::vector<std::string> navigation;
    for (const std::string& file : files)
        if (file != observation) navigation.push_back(file);
    return checkFiles(observation, navigation, options, report, error);
}

} // namespace quality
