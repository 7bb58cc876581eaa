#include "app/reporttool/OutputPlan.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "app/reporttool/ReportTool.h"
#include "env/Probes.h"
#include "platform/files/OutputFiles.h"

namespace ql::reporttool {

namespace fs = std::filesystem;

namespace {

// The nearest folder of `path` that exists (for a path still to be made).
fs::path existingAncestor(fs::path path) {
    std::error_code ec;
    if (path.empty()) path = ".";
    path = fs::absolute(path, ec).lexically_normal();
    while (!fs::exists(path, ec) && path.has_relative_path()) path = path.parent_path();
    return path;
}

bool writableFolder(const fs::path& folder) {
    std::error_code ec;
    return fs::is_directory(folder, ec) && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

// A pipe would block the open for ever and a folder or device is no
// database: only regular files (or missing ones, which fail on their own)
// are opened.
std::optional<std::string> notAFile(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || S_ISREG(st.st_mode)) return std::nullopt;
    if (S_ISDIR(st.st_mode)) return path + " is a folder, not a database file";
    return path + " is not a regular file (a pipe, socket or device); it was not opened";
}

}  // namespace

bool isAceFile(const std::string& path) {
    char head[20] = {};
    std::ifstream in(path, std::ios::binary);
    in.read(head, sizeof head);
    return std::string(head + 4, 15) == "Standard ACE DB" || fs::path(path).extension() == ".accdb";
}

std::vector<Target> plan(const Options& options, bool toFolder) {
    std::vector<Target> targets;
    std::set<std::string> usedNames;
    const bool fileFormat = options.format != Format::Json;
    for (const std::string& database : options.databases) {
        Target t{database, options.output, {}, {}};
        if (toFolder) {
            // Same file names from different folders get a number.
            std::string name = reportFileName(database, options.format);
            for (int n = 2; usedNames.count(name); ++n)
                name = fs::path(database).filename().string() + "-" + std::to_string(n) + formatExtension(options.format);
            usedNames.insert(name);
            t.report = (fs::path(options.output) / name).string();
            if (fileFormat) t.keptLog = t.report + ".Errors.Log";
        }
        if (fileFormat && t.report != "-") t.errorLog = env::GetFolderOfPath(t.report) + "Errors.Log";
        targets.push_back(t);
    }
    return targets;
}

std::optional<Refusal> refusal(const Options& options, const std::vector<Target>& targets, bool toFolder) {
    std::error_code ec;
    std::vector<std::string> inputs = options.databases;
    if (!options.workgroup.empty()) inputs.push_back(options.workgroup);
    for (const auto& input : inputs)
        if (auto why = notAFile(input)) return Refusal{*why};

    std::vector<std::string> written;
    for (const Target& t : targets)
        for (const std::string* file : {&t.report, &t.errorLog, &t.keptLog})
            if (!file->empty() && *file != "-") written.push_back(*file);
    // Module sources replace the .bas files of their folder.
    if (!options.moduleSourceDir.empty()) {
        for (const auto& database : options.databases) {
            const fs::path folder = fs::path(options.moduleSourceDir) / fs::path(database).filename();
            if (fs::is_directory(folder, ec))
                for (const auto& entry : fs::directory_iterator(folder, ec))
                    if (entry.path().extension() == ".bas") written.push_back(entry.path().string());
        }
        const fs::path base = existingAncestor(options.moduleSourceDir);
        if (!writableFolder(base)) return Refusal{"cannot write module sources: " + base.string() + " is not a writable folder"};
    }
    for (const auto& file : written)
        if (files::isProtectedInput(file))
            return Refusal{"refusing to write " + file + ": it is a database or the workgroup file being read"};

    if (toFolder) {
        if (fs::exists(options.output, ec) && !fs::is_directory(options.output, ec))
            return Refusal{options.output + " is not a folder"};
        const fs::path base = existingAncestor(options.output);
        if (!writableFolder(base)) return Refusal{"cannot write into " + options.output + ": " + base.string() + " is not a writable folder"};
    }
    for (const Target& t : targets) {
        if (t.report == "-") continue;
        const fs::path parent = fs::path(t.report).parent_path(), folder = parent.empty() ? "." : parent;
        if (!toFolder && !fs::is_directory(folder, ec))
            return Refusal{"cannot write " + t.report + ": the folder " + folder.string() + " does not exist"};
        // The report is replaced through a new file and its log deleted and
        // made again: both need the folder writable.
        if (!toFolder && !writableFolder(folder))
            return Refusal{"cannot write " + t.report + ": the folder " + folder.string() + " is not writable"};
        for (const std::string* file : {&t.report, &t.errorLog, &t.keptLog}) {
            if (file->empty() || !fs::exists(*file, ec)) continue;
            if (!fs::is_regular_file(*file, ec)) return Refusal{"cannot write " + *file + ": it is not a regular file"};
            // A log is deleted and made again, so only the report must be
            // writable itself.
            if (file == &t.report && ::access(file->c_str(), W_OK) != 0)
                return Refusal{"cannot write " + *file + ": it is not writable"};
            // In a folder of many reports an old file is more likely another
            // run's work than something to throw away.
            if (toFolder && !options.force) return Refusal{*file + " exists; --force replaces it"};
        }
    }
    return std::nullopt;
}


}  // namespace ql::reporttool
