// SPDX-License-Identifier: MIT
// The HTML report: self-contained, and rendered by a real browser (headless Chromium) with
// its tables and plots in the page.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "quality/check_files.h"
#include "quality/html_report.h"

namespace {

const std::string kData = std::string(VELMOOR_TEST_DATA) + "/rinex/";

std::string stationPage() {
    quality::Report r;
    std::string error;
    EXPECT_TRUE(quality::checkFiles(kData + "ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz",
                                    {kData + "ESBC00DNK_R_20201770000_03H_MN.rnx.gz"}, quality::Options{}, r, error))
        << error;
    return quality::htmlReport(r);
}

std::string chromium() {
    for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"})
        if (access(path, X_OK) == 0) return path;
    return std::string();
}

size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

} // namespace

TEST(HtmlReport, IsSelfContained) {
    const std::string page = stationPage();
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_EQ(page.find("<link"), std::string::npos);
    EXPECT_EQ(page.find("src="), std::string::npos);
    EXPECT_EQ(page.find("url("), std::string::npos);
    EXPECT_NE(page.find("name=\"viewport\""), std::string::npos);
    for (const char* id : {"summary", "signals", "occupations", "plot-tracking", "plot-cn0", "plot-sky", "plot-dop",
                           "plot-scatter"})
        EXPECT_NE(page.find(std::string("id=\"") + id + "\""), std::string::npos) << id;
    EXPECT_LT(page.size(), 400000u);
}

TEST(HtmlReport, RendersInHeadlessChromium) {
    const std::string browser = chromium();
    if (browser.empty()) GTEST_SKIP() << "Chromium is not installed (Debian: apt-get install chromium)";
    char pattern[] = "/tmp/velmoor-html-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string dir = pattern;
    {
        std::ofstream out(dir + "/report.html");
        out << stationPage();
    }
    const std::string command = browser +
                                " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
                                " --disable-background-networking --disable-component-update --disable-sync"
                                " --user-data-dir=" + dir + "/profile --dump-dom file://" + dir +
                                "/report.html 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string dom;
    char buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        dom.append(buffer, n);
    const int status = pclose(pipe);
    std::system(("rm -rf " + dir).c_str());
    ASSERT_EQ(status, 0) << "the browser failed";
    // The browser's own serialisation of the parsed page: elements, not our text.
    EXPECT_NE(dom.find("<title>Quality report ESBC00DNK</title>"), std::string::npos);
    for (const char* id : {"summary", "signals", "occupations", "plot-tracking", "plot-cn0", "plot-sky", "plot-dop",
                           "plot-scatter"})
        EXPECT_NE(dom.find(std::string("id=\"") + id + "\""), std::string::npos) << id;
    EXPECT_GT(count(dom, "<rect class=\"run\""), 30u);        // a tracked run per satellite at least
    EXPECT_EQ(count(dom, "<circle class=\"fix\""), 60u);      // every positioned epoch
    EXPECT_GT(count(dom, "<polyline class=\"track\""), 20u);  // sky tracks
    EXPECT_GT(count(dom, "<polyline class=\"cn0\""), 10u);
    EXPECT_NE(dom.find("Latitude, longitude, height"), std::string::npos);
}
