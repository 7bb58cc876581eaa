#include "platform/vba/ModuleExport.h"

#include <set>
#include <system_error>

#include "platform/files/OutputFiles.h"
#include "platform/vba/JetSystemTables.h"
#include "platform/vba/VbaProject.h"

namespace ql::vba {
namespace {

// Module names are at most 64 characters, but a name of CJK letters is three
// bytes each in UTF-8; this keeps "<stem> (n).bas" under the usual 255-byte
// limit of a file name.
constexpr std::size_t kMaxStemBytes = 200;

// Cuts UTF-8 text to at most `bytes` bytes without splitting a character.
std::string cutUtf8(const std::string& text, std::size_t bytes) {
    if (text.size() <= bytes) return text;
    std::size_t end = bytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

bool writeFile(const std::filesystem::path& file, const std::string& text) {
    try {
        files::writeFile(file, text, files::WriteMode::Replace);
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

}  // namespace

// Module names may hold blanks and letters of any script, which stay; only
// what a Linux file name cannot hold ("/" and NUL), the Windows separator
// "\", and control characters become "_". A leading "." would hide the file
// (or name "." or ".."), so such a name gets a "_" in front.
std::string moduleFileStem(const std::string& moduleName) {
    std::string stem;
    for (const char c : moduleName) {
        const auto byte = static_cast<unsigned char>(c);
        stem += (c == '/' || c == '\\' || byte < 0x20 || byte == 0x7F) ? '_' : c;
    }
    if (stem.empty() || stem.front() == '.') stem.insert(0, "_");
    return cutUtf8(stem, kMaxStemBytes);
}

ModuleSourceExport writeModuleSources(const std::filesystem::path& databasePath, const std::filesystem::path& folder) {
    ModuleSourceExport result;
    VbaProject project;
    try {
        project = openJetProject(databasePath);
    } catch (const std::exception& error) {
        result.errors.push_back(databasePath.string() + ": cannot be opened: " + error.what());
        return result;
    }
    if (project.modules().empty()) {
        // No project at all is normal (a database without code); a project
        // that is there but unreadable is worth saying.
        const bool noProject = project.projectError().empty() || (project.layout() == ProjectLayout::None &&
                                                                   project.projectErrorKind() == VbaErrorKind::Missing);
        if (!noProject) result.errors.push_back(databasePath.string() + ": " + project.projectError());
        return result;
    }

    const std::filesystem::path target = folder / databasePath.filename();
    std::error_code ec;
    std::filesystem::create_directories(target, ec);
    if (ec) {
        result.errors.push_back(target.string() + ": cannot be created: " + ec.message());
        result.writeFailed = true;
        return result;
    }

    std::set<std::string> used;
    for (const ProjectModule& module : project.modules()) {
        if (!module.source) {
            result.errors.push_back(module.error);  // names the module
            continue;
        }
        // Two names can become the same stem once made safe; the later one
        // gets a number.
        const std::string stem = moduleFileStem(module.name);
        std::string name = stem;
        for (int n = 2; !used.insert(name).second; ++n) name = stem + " (" + std::to_string(n) + ")";
        const std::filesystem::path file = target / (name + ".bas");
        if (writeFile(file, module.source->storedText()))
            result.written.push_back({module.name, file});
        else {
            result.errors.push_back("module " + module.name + ": cannot write " + file.string());
            result.writeFailed = true;
        }
    }
    return result;
}

}  // namespace ql::vba
