#include "app/reporttool/ReportTool.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <QSaveFile>
#include <QTemporaryDir>

#include "analysis/AnalysisRun.h"
#include "app/reporttool/HeadlessUi.h"
#include "app/reporttool/JsonReport.h"
#include "app/reporttool/StageTimer.h"
#include "grids/ErrorLog.h"
#include "grids/UnhandledError.h"
#include "grids/WindowContext.h"
#include "open/OpenForAnalysis.h"
#include "platform/dao/Dao.h"
#include "platform/profile/SettingsFile.h"
#include "platform/vba/Automation.h"
#include "platform/vba/ModuleExport.h"
#include "report/OutputDestination.h"

namespace ql::reporttool {

namespace fs = std::filesystem;

namespace {

std::string readWhole(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::vector<std::string> readLogLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

// "Run-time error '3265':" and the description on one line.
std::string oneLine(const RuntimeError& error) {
    std::string text = grids::runtimeErrorText(error);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r' || c == '\n') {
            if (!out.empty() && out.back() != ' ') out += ' ';
            continue;
        }
        out += c;
    }
    return out;
}

// The option button of a file format.
int formatCode(Format format) {
    switch (format) {
    case Format::Xml: return grids::kFormatXml;
    case Format::Csv: return grids::kFormatCsv;
    case Format::Xls: return grids::kFormatExcel;
    default: return grids::kFormatText;
    }
}

// Everything one database's run needs and leaves: the window's state with
// its screen and controls, and the outcome the report is made from.
class DatabaseRun {
public:
    DatabaseRun(const Options& options, const std::string& database, const ToolEnvironment& environment,
                const fs::path& scratch)
        : options_(options),
          program_(environment.program),
          // A private settings file: a batch run never changes what the
          // window remembers.
          settings_(scratch / "settings", scratch / "settings", [](const fs::path&) { return true; }),
          controls_(state_, ui_),
          // The program folder holds the XML rewrite's temporary file: a
          // private one, so that runs side by side cannot meet there.
          ctx_{state_, ui_, controls_, program_, settings_, scratch.string()} {
        outcome_.database = database;
        outcome_.workgroup = options.workgroup;
        // The control queries box and the flag it sets, as a click on it
        // leaves them: the run lists "~" queries by the flag, the queries
        // grid by the box.
        controls_.qryControl = options.tempQueries ? grids::kChecked : grids::kUnchecked;
        state_.IncludeTempQueries = options.tempQueries ? grids::kTrue : grids::kFalse;
        fs::create_directories(scratch / "settings");
        state_.ErrorLogPath = (scratch / "Errors.Log").string();
        ui_.onStatus = [this](const std::string& text) { timer_.status(text); };
    }

    // The open as a successful "Database.." leaves the window, without its
    // dialogs and file checks: the engine reports every failure itself.
    void open() {
        timer_.begin("open");
        try {
            open::openForAnalysis(ctx_, outcome_.database, options_.workgroup);
            outcome_.opened = true;
        } catch (const std::exception& e) {
            outcome_.error = grids::asRuntimeError(e);
        }
        timer_.end();
    }

    // What choosing the format and the output file does in the window: a
    // fresh error log beside the report and the report's header.
    bool startReport(Format format, const std::string& path) {
        timer_.begin("start report");
        bool ok = true;
        try {
            report::optFormat_Click(ctx_, formatCode(format));
            report::startReport(ctx_, path);
        } catch (const std::exception& e) {
            reportError_ = grids::asRuntimeError(e);
            ok = false;
        }
        timer_.end();
        return ok;
    }

    // What viewing and closing do to the report: the statistics when asked,
    // the XML closing line, the spreadsheet objects let go.
    bool finishReport(bool stats) {
        timer_.begin("write report");
        bool ok = true;
        try {
            report::finishReport(ctx_, stats);
            report::closeOutput(ctx_);
        } catch (const std::exception& e) {
            reportError_ = grids::asRuntimeError(e);
            ok = false;
        }
        timer_.end();
        return ok;
    }

    const std::optional<RuntimeError>& reportError() const { return reportError_; }
    const std::string& errorLogPath() const { return state_.ErrorLogPath; }

    void analyse() {
        timer_.begin("run start");
        try {
            analysis::cmdAnalyse_Click(ctx_);
        } catch (const grids::UnhandledError& e) {
            outcome_.aborted = true;
            outcome_.error = e.error();
        } catch (const std::exception& e) {
            outcome_.aborted = true;
            outcome_.error = grids::asRuntimeError(e);
        }
        timer_.end();
        outcome_.errorLog = readLogLines(state_.ErrorLogPath);
        outcome_.messages = ui_.messages;
        unload();
    }

    // Only for a database that opened: the file is read directly, and a
    // database the workgroup keeps closed must not give its code away.
    void writeModuleSources(const std::string& folder) {
        outcome_.moduleSourcesAsked = true;
        if (!outcome_.opened) return;
        timer_.begin("module source");
        const auto exported = vba::writeModuleSources(outcome_.database, folder);
        timer_.end();
        for (const auto& m : exported.written) outcome_.moduleFiles.push_back(m.file.string());
        outcome_.moduleErrors = exported.errors;
    }

    QByteArray json() const { return jsonReport(outcome_, state_, controls_.qryControl); }

    const RunOutcome& outcome() const { return outcome_; }
    StageTimer& timer() { return timer_; }

private:
    // What the window's unload does with the automation object the module
    // scan made.
    void unload() {
        if (state_.AccessAutomationStarts > 0 && state_.AccessApplication) {
            try {
                state_.AccessApplication->Quit(2);
            } catch (const std::exception&) {
                // Already gone: nothing to quit.
            }
        }
    }

    const Options& options_;
    env::ProgramValues program_;
    profile::SettingsFile settings_;
    grids::WindowState state_;
    HeadlessUi ui_;
    grids::RecordedControls controls_;
    grids::WindowContext ctx_;
    RunOutcome outcome_;
    StageTimer timer_;
    std::optional<RuntimeError> reportError_;
};

// Writes `data` to `path` whole or not at all; "-" is standard output.
bool writeReport(const std::string& path, const QByteArray& data, std::ostream& out, std::string& why) {
    if (path == "-") {
        out.write(data.constData(), data.size());
        out.flush();
        if (!out) why = "standard output cannot be written";
        return static_cast<bool>(out);
    }
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        why = file.errorString().toStdString();
        return false;
    }
    return true;
}

}  // namespace

std::string reportFileName(const std::string& database, Format format) {
    return fs::path(database).filename().string() + formatExtension(format);
}

int runTool(const Options& options, const ToolEnvironment& environment) {
    std::ostream& err = *environment.err;
    const std::string prefix = environment.programName + ": ";
    const bool json = options.format == Format::Json;

    // Several databases, or an existing folder, make --output a folder.
    std::error_code ec;
    const bool toFolder = options.output != "-" &&
                          (options.databases.size() > 1 || fs::is_directory(options.output, ec));
    if (toFolder) {
        fs::create_directories(options.output, ec);
        if (ec || !fs::is_directory(options.output)) {
            err << prefix << "cannot create the folder " << options.output << ": " << ec.message() << "\n";
            return 1;
        }
    }

    StageTimer allStages;
    std::set<std::string> usedNames;
    bool failed = false;
    const std::size_t count = options.databases.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& database = options.databases[i];
        if (environment.progressLines)
            err << prefix << "[" << (i + 1) << "/" << count << "] " << database << "\n" << std::flush;

        std::string target = options.output;
        if (toFolder) {
            // Same file names from different folders get a number.
            std::string name = reportFileName(database, options.format);
            for (int n = 2; usedNames.count(name); ++n)
                name = fs::path(database).filename().string() + "-" + std::to_string(n) +
                       formatExtension(options.format);
            usedNames.insert(name);
            target = (fs::path(options.output) / name).string();
        }

        QTemporaryDir scratchDir;
        if (!scratchDir.isValid()) {
            err << prefix << "cannot make a temporary folder: " << scratchDir.errorString().toStdString() << "\n";
            return 1;
        }
        const fs::path scratch(scratchDir.path().toStdString());
        DatabaseRun run(options, database, environment, scratch);
        run.open();
        const auto& outcome = run.outcome();
        if (!outcome.opened) {
            failed = true;
            err << prefix << database << ": cannot open: error " << outcome.error->number() << ": "
                << outcome.error->description() << "\n";
        }

        // The file formats are written where the window writes them, so a
        // report for standard output is made in the scratch folder first.
        const std::string reportPath =
            !json && target == "-" ? (scratch / ("report" + formatExtension(options.format))).string() : target;
        bool reportStarted = false;
        if (outcome.opened) {
            reportStarted = json || run.startReport(options.format, reportPath);
            run.analyse();
            if (outcome.aborted) {
                failed = true;
                err << prefix << database << ": analysis ended: " << oneLine(*outcome.error) << "\n";
            }
        }
        if (!options.moduleSourceDir.empty()) {
            run.writeModuleSources(options.moduleSourceDir);
            for (const auto& e : outcome.moduleErrors) err << prefix << database << ": module source: " << e << "\n";
        }

        if (json) {
            run.timer().begin("write report");
            std::string why;
            const bool written = writeReport(target, run.json(), *environment.out, why);
            run.timer().end();
            if (!written) {
                failed = true;
                err << prefix << "cannot write " << target << ": " << why << "\n";
            }
        } else if (outcome.opened) {
            // A database that does not open gets no report file, as the
            // window writes none before a database is open.
            std::string why;
            bool written = reportStarted && run.finishReport(options.stats);
            if (!written)
                why = run.reportError()->description();
            else if (target == "-")
                written = writeReport("-", QByteArray::fromStdString(readWhole(reportPath)), *environment.out, why);
            if (!written) {
                failed = true;
                err << prefix << "cannot write " << target << ": " << why << "\n";
            }
            // One folder, one "Errors.Log" name: each database's log is kept
            // under its report's name so that the next run does not replace it.
            if (toFolder && reportStarted) {
                std::error_code moved;
                fs::rename(run.errorLogPath(), target + ".Errors.Log", moved);
            }
        }

        if (options.timings) {
            err << "timings: " << database << "\n" << run.timer().table();
            for (const auto& stage : run.timer().stages()) allStages.add(stage.name, stage.milliseconds);
        }
    }
    if (options.timings && count > 1) err << "timings: all " << count << " databases\n" << allStages.table();
    return failed ? 1 : 0;
}

}  // namespace ql::reporttool
