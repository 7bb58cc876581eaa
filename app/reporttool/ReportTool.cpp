#include "app/reporttool/ReportTool.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <QTemporaryDir>

#include "analysis/AnalysisRun.h"
#include "app/reporttool/HeadlessUi.h"
#include "app/reporttool/JsonReport.h"
#include "app/reporttool/OutputPlan.h"
#include "app/reporttool/StageTimer.h"
#include "env/Probes.h"
#include "grids/ErrorLog.h"
#include "grids/UnhandledError.h"
#include "grids/WindowContext.h"
#include "open/OpenForAnalysis.h"
#include "platform/dao/Dao.h"
#include "platform/files/OutputFiles.h"
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
        // A module without readable source is a fact about the database; a
        // file that could not be made is a failure of the run.
        outcome_.moduleSourceWriteFailed = exported.writeFailed;
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
    try {
        files::replaceContents(path, std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
    } catch (const RuntimeError& error) {
        why = error.description();
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

    // A folder only where the name says so or one is there: a mistyped
    // file name must not turn into a folder.
    std::error_code ec;
    const bool toStdout = options.output == "-";
    const bool toFolder = !toStdout && (options.output.back() == '/' || fs::is_directory(options.output, ec));
    if (!toFolder && options.databases.size() > 1) {
        err << prefix << "with several databases --output names a folder: end it with / or create it first\n";
        return 2;
    }
    // Held for the whole run: no writer may reach a file being read.
    std::vector<files::ProtectedInput> inputs;
    for (const auto& database : options.databases) inputs.push_back(files::ProtectedInput::ofPath(database));
    if (!options.workgroup.empty()) inputs.push_back(files::ProtectedInput::ofPath(options.workgroup));

    const std::vector<Target> targets = plan(options, toFolder);
    if (const auto refused = refusal(options, targets, toFolder)) {
        err << prefix << refused->message << "\n";
        return refused->status;
    }
    if (toFolder) {
        fs::create_directories(options.output, ec);
        if (ec || !fs::is_directory(options.output)) {
            err << prefix << "cannot create the folder " << options.output << ": " << ec.message() << "\n";
            return 1;
        }
    }

    StageTimer allStages;
    bool failed = false;
    const std::size_t count = targets.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Target& target = targets[i];
        const std::string& database = target.database;
        if (environment.progressLines)
            err << prefix << "[" << (i + 1) << "/" << count << "] " << database << "\n" << std::flush;

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
                << outcome.error->description();
            if (outcome.error->number() == 3343 && isAceFile(database))
                err << " (Access 2007 and later files are not Jet files)";
            err << "\n";
        }

        // The file formats are written where the window writes them, so a
        // report for standard output is made in the scratch folder first.
        const std::string reportPath =
            !json && toStdout ? (scratch / ("report" + formatExtension(options.format))).string() : target.report;
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
            if (outcome.moduleSourceWriteFailed) failed = true;
        }

        if (json) {
            run.timer().begin("write report");
            std::string why;
            const bool written = writeReport(target.report, run.json(), *environment.out, why);
            run.timer().end();
            if (!written) {
                failed = true;
                err << prefix << "cannot write " << target.report << ": " << why << "\n";
            }
        } else if (outcome.opened) {
            // A database that does not open gets no report file, as the
            // window writes none before a database is open. A run cut short
            // keeps its header only: statistics of half-filled grids would
            // pass for a whole analysis.
            std::string why;
            bool written = reportStarted && run.finishReport(options.stats && !outcome.aborted);
            if (!written)
                why = run.reportError()->description();
            else if (toStdout)
                written = writeReport("-", QByteArray::fromStdString(readWhole(reportPath)), *environment.out, why);
            if (!written) {
                failed = true;
                err << prefix << "cannot write " << target.report << ": " << why << "\n";
            }
            // Standard output has no "beside": the log follows on stderr.
            if (toStdout)
                for (const auto& line : outcome.errorLog) err << line << "\n";
            // One folder, one "Errors.Log" name: each database's log is kept
            // under its report's name so that the next run does not replace it.
            if (toFolder && reportStarted) {
                try {
                    files::replaceFile(run.errorLogPath(), target.keptLog);
                } catch (const RuntimeError& error) {
                    failed = true;
                    err << prefix << "cannot write " << target.keptLog << ": " << error.description() << "\n";
                }
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
