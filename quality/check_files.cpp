#include "quality/check_files.h"

#include "quality/compressed_input.h"
#include "quality/navigation.h"
#include "quality/rinex_obs_reader.h"

namespace quality {

bool checkFiles(const std::string& observationPath, const std::vector<std::string>& navigationPaths,
                const Options& options, Report& report, std::string& error) {
    QualityCheck check(options);
    Navigation navigation;
    std::vector<std::string> notes;
    for (const std::string& path : navigationPaths) {
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

} // namespace quality
