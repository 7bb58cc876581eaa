#include "report/OutputDestination.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "env/Probes.h"
#include "env/RegistryValue.h"
#include "grids/ErrorLog.h"
#include "platform/vb/VbText.h"
#include "platform/files/OutputFiles.h"
#include "report/ReportHeader.h"
#include "report/StatisticsReport.h"
#include "report/TextFile.h"
#include "report/WorkbookHeader.h"

namespace fs = std::filesystem;

namespace ql::report {

namespace {

// The application's title on the boxes the commands' traps show.
constexpr const char* kAppTitle = "Quarrylantern";

struct FormatEntry {
    const char* extension;
    const char* description;
};

constexpr FormatEntry kFormats[] = {
    {"TXT", "Text"},
    {"XML", "XML"},
    {"CSV", "Char Separated Value"},
    {"XLS", "Excel"},
};

const FormatEntry* formatEntry(std::int16_t format) {
    if (format < 0 || format >= static_cast<std::int16_t>(std::size(kFormats))) return nullptr;
    return &kFormats[format];
}

// The first line of a fresh error log.
void startErrorLog(const grids::WindowState& state) {
    files::removeFile(state.ErrorLogPath);
    writeLines(state.ErrorLogPath,
               {"Error Log for Database " + state.ActualDbPath + " as at " + vb::dateText(vb::Now())},
               OpenMode::Output);
}

}  // namespace

std::string outputFilter(std::int16_t format) {
    const FormatEntry* entry = formatEntry(format);
    if (!entry) return {};
    return std::string(entry->description) + " Files (*." + entry->extension + ")|*." + entry->extension;
}

std::string outputDefaultExtension(std::int16_t format) {
    const FormatEntry* entry = formatEntry(format);
    return entry ? std::string(".") + entry->extension : std::string();
}

std::string outputInitialFolder(const std::string& storedPath) {
    std::string folder;
    for (size_t n = storedPath.size(); n >= 2; --n) {
        const std::string head = storedPath.substr(0, n - 1);
        if (head.find('/') == std::string::npos) {
            folder = head;
            break;
        }
    }
    return folder;
}

void optFormat_Click(grids::WindowContext& ctx, int index) {
    const registry::DesktopRegistry desktop;
    optFormat_Click(ctx, index, desktop);
}

void optFormat_Click(grids::WindowContext& ctx, int index, const registry::Registry& registry) {
    ctx.state.OutputFormat = static_cast<std::int16_t>(index);
    if (index == grids::kFormatExcel) ctx.program.ExcelVersion = env::GetExcelVersion(registry);
}

std::string scratchFolder(const grids::WindowContext& ctx) {
    if (!ctx.programFolder.empty() && ::access(ctx.programFolder.c_str(), W_OK) == 0) return ctx.programFolder;
    std::error_code ignored;
    fs::create_directories(ctx.settings.userFolder(), ignored);
    return ctx.settings.userFolder().string();
}

void startReport(grids::WindowContext& ctx, const std::string& path) {
    // The report, its log or the XML rewrite's scratch file over the database
    // being read would destroy it: refuse before any of them is touched.
    const std::string errorLog = env::GetFolderOfPath(path) + "Errors.Log";
    files::refuseInput(path);
    files::refuseInput(errorLog);
    files::refuseInput(fs::path(scratchFolder(ctx)) / "temp.xml");

    grids::WindowState& state = ctx.state;
    state.OutputPath = path;
    if (state.OutputFileNumber == 0) state.OutputFileNumber = 1;
    state.ErrorLogPath = errorLog;
    startErrorLog(state);

    const HeaderFacts facts = currentHeaderFacts(state);
    if (state.OutputFormat == grids::kFormatExcel) {
        WriteWorkbookHeader(path, facts, ctx.program.ExcelVersion, state);
    } else {
        int mode = state.WriteMode;
        WriteHeaderToFile(path, state.OutputFormat, facts, mode, scratchFolder(ctx));
        state.WriteMode = mode;
    }
}

void finishReport(grids::WindowContext& ctx, bool includeStats) {
    grids::WindowState& state = ctx.state;
    if (includeStats && !state.StatisticsWritten) WriteStatisticsToFile(state.OutputFormat, state);
    if (state.OutputFormat == grids::kFormatXml) CloseXmlReport(state.OutputPath, scratchFolder(ctx));
}

void closeOutput(grids::WindowContext& ctx) {
    grids::WindowState& state = ctx.state;
    if (state.OutputFormat == grids::kFormatXml && !state.OutputPath.empty()) {
        CloseXmlReport(state.OutputPath, scratchFolder(ctx));
    } else if (state.OutputFormat == grids::kFormatExcel) {
        ReleaseWorkbook(state);
    }
}

void cmdOut_Click(grids::WindowContext& ctx) {
    using grids::Control;
    std::string stored;
    std::string chosen;
    try {
        stored = ctx.settings.ReadSetting("Paths", "Output", (fs::path(ctx.programFolder) / "Test.TXT").string());

        ui::FileDialog dialog;
        dialog.title = "Select Output File Name";
        dialog.filter = outputFilter(ctx.state.OutputFormat);
        dialog.defaultExtension = outputDefaultExtension(ctx.state.OutputFormat);
        dialog.fileName = stored;
        dialog.initialFolder = outputInitialFolder(stored);
        dialog.cancelError = false;
        const ui::FileDialogResult result = ctx.ui.showSave(dialog);
        chosen = result.accepted ? result.fileName : std::string();

        ctx.controls.setTxtOut(chosen);
        if (chosen.empty()) {
            ctx.ui.message("No Output File Selected", "NO DESTINATION", ui::Buttons::OK, ui::Icon::Information);
            return;
        }
        ctx.state.OutputFileNumber = 1;  // the runtime's next free number: nothing else is open

        std::error_code ignored;
        if (fs::exists(chosen, ignored) &&
            ctx.ui.message("Output File Exists. Overwrite?", "FILE EXISTS", ui::Buttons::YesNo, ui::Icon::Question,
                           ui::DefaultButton::Second) == ui::Answer::No)
            return;

        ctx.settings.WriteSetting("Paths", "Output", chosen);
        ctx.controls.setEnabled(Control::cmdOut, false);
        ctx.controls.setEnabled(Control::mnuOutPut, false);

        startReport(ctx, chosen);

        ctx.controls.setEnabled(Control::fraOutput, false);
        ctx.controls.setStepValue(grids::kStepOutputFile, grids::kChecked);
        ctx.controls.setStepBold(grids::kStepOutputFile, true);
        ctx.controls.setEnabled(Control::mnuAnalyse, true);
        ctx.controls.setEnabled(Control::cmdAnalyse, true);
        ctx.controls.setFocus(Control::cmdAnalyse);
    } catch (const std::exception& e) {
        // The choice failed (a folder that cannot be written, the database
        // itself): it stays open to be made again, and nothing remembers the
        // failed path, so that no later dialog starts there.
        const RuntimeError error = grids::asRuntimeError(e);
        ctx.state.OutputPath.clear();
        ctx.state.ErrorLogPath.clear();
        ctx.controls.setTxtOut("");
        if (!chosen.empty() && ctx.settings.ReadSetting("Paths", "Output", "") == chosen)
            ctx.settings.WriteSetting("Paths", "Output", stored == chosen ? std::string() : stored);
        ctx.controls.setEnabled(Control::cmdOut, true);
        ctx.controls.setEnabled(Control::mnuOutPut, true);
        ctx.controls.setEnabled(Control::fraOutput, true);
        ctx.ui.message(error.description() + "\r\n" + chosen, kAppTitle, ui::Buttons::OK, ui::Icon::Exclamation);
    }
}

}  // namespace ql::report
