#pragma once
// The real main window with its real commands (nothing recorded instead),
// offscreen, for the analysis side of the window. The count-down behind
// Delay ticks fast so that a run does not wait two real seconds.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/app/ShellFixture.h"

namespace ql::test {

class AnalysisWindow : public app::frmQuarrylantern {
public:
    using frmQuarrylantern::frmQuarrylantern;
    std::vector<int> formatClicks;
    void optFormat_Click(int index) override { formatClicks.push_back(index); }
};

class GridsWindowTest : public ShellTest {
protected:
    ~GridsWindowTest() override;

    // A new window, loaded with Yes to the security question.
    AnalysisWindow& loaded();
    // Drops the window and loads a new one.
    AnalysisWindow& reloaded();

    // Copies a corpus file into the data folder, writable as a user's own
    // file would be, and returns the copy's path.
    std::filesystem::path copyOf(const std::string& corpusName);
    // Opens a copy of a corpus database the way "Database.." leaves the
    // window, and puts the error log where choosing an output file would.
    void openCopy(const std::string& corpusName);
    // Where choosing an output file would put the error log.
    void chooseErrorLog();

    TempFolder data;
    std::unique_ptr<AnalysisWindow> analysisWindow_;
};

}  // namespace ql::test
