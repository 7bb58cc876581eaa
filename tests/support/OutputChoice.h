#pragma once
// The output step as the user takes it in a headless window, and the lines
// of the report it starts. Header only: the report library is linked by the
// tests that use it, not by every test of the support library.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report/OutputDestination.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace ql::test {

// Picks format `format` and the file `name` in the window's folder through
// the option button and the output command; `registry` answers the
// workbook's version question when given.
inline std::filesystem::path chooseOutput(HeadlessWindow& w, int format, const std::string& name,
                                          const registry::Registry* registry = nullptr) {
    if (registry)
        report::optFormat_Click(w.ctx, format, *registry);
    else
        report::optFormat_Click(w.ctx, format);
    const std::filesystem::path file = w.folder / name;
    w.ui.chooseFile(file.string());
    report::cmdOut_Click(w.ctx);
    return file;
}

// The lines of a report, each of which must end in CR LF.
inline std::vector<std::string> crlfLines(const std::filesystem::path& file) {
    const std::string text = readFile(file);
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find("\r\n", start);
        if (end == std::string::npos) {
            ADD_FAILURE() << "the last line of " << file << " has no CR LF";
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

}  // namespace ql::test
