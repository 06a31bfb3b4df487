// SPDX-License-Identifier: MIT
// velmoor-make-sample: a receiver data file from RINEX 3 observation and navigation files.
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "sample_generator/options.h"
#include "sample_generator/stream_assembly.h"
#include "sample_generator/summary.h"

int main(int argc, char** argv) {
    using namespace sample_generator;
    Options options;
    try {
        bool help = false;
        options = parseOptions(std::vector<std::string>(argv + 1, argv + argc), help);
        if (help) {
            std::cout << usageText();
            return 0;
        }
        const Sample sample = generateSample(options);
        std::ofstream out(options.outputPath, std::ios::binary | std::ios::trunc);
        if (!out) throw std::runtime_error("cannot create " + options.outputPath);
        out.write(reinterpret_cast<const char*>(sample.bytes.data()), std::streamsize(sample.bytes.size()));
        out.close();
        if (!out) throw std::runtime_error("cannot write " + options.outputPath);
        printSummary(std::cerr, options.outputPath, sample.summary);
        return 0;
    } catch (const UsageError& e) {
        std::cerr << "velmoor-make-sample: " << e.what() << "\n\n" << usageText();
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "velmoor-make-sample: " << e.what() << "\n";
        return 1;
    }
}
