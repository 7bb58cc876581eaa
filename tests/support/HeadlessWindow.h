#pragma once
// The main window's state and services without a screen, for tests of the
// commands: a scripted UI, recorded controls, program values, a settings
// file and an output folder in a fresh temporary folder.
#include <filesystem>
#include <string>

#include "grids/WindowContext.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

namespace ql::test {

class HeadlessWindow {
public:
    HeadlessWindow();

    // Opens `database` (with `workgroup` when given) the way a successful
    // "Database.." command leaves the window: engine and database kept,
    // txtMDB and ActualDbPath set, and the error log in the temporary
    // folder, as choosing the output file would leave it. Throws the DAO
    // error when the database does not open.
    void open(const std::filesystem::path& database, const std::filesystem::path& workgroup = {});

    // The error log's lines (without their CR LF); empty when none was written.
    std::vector<std::string> errorLogLines() const;

    TempFolder folder;
    grids::WindowState state;
    ScriptedUi ui;
    grids::RecordedControls controls{state, ui};
    env::ProgramValues program;
    profile::SettingsFile settings;
    grids::WindowContext ctx;
};

}  // namespace ql::test
