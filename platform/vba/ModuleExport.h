#pragma once
// Writes the source of every module of a database's VBA project to text
// files, so that users can read and search the code with ordinary tools.
#include <filesystem>
#include <string>
#include <vector>

namespace ql::vba {

struct WrittenModule {
    std::string module;          // the module's name as the project spells it
    std::filesystem::path file;  // where its source went
};

struct ModuleSourceExport {
    std::vector<WrittenModule> written;
    // One line per module that could not be written ("module <name>:
    // <reason>"), or one for the database when its project could not be read
    // at all.
    std::vector<std::string> errors;
    // A file or folder could not be written: a failure of the export itself,
    // apart from modules whose source the database does not give.
    bool writeFailed = false;
};

// Writes each module of the database at `databasePath` whose source can be
// read (standard, class, form and report modules alike) as
// `folder`/<database file name>/<module>.bas, creating the folders. The text
// is the module as stored, hidden Attribute lines included, in UTF-8 with
// its CR LF line ends. Existing files of the same names are replaced. A
// database without a VBA project writes nothing and reports nothing.
// Never throws for a damaged database or a file that cannot be written:
// those end up in `errors`.
ModuleSourceExport writeModuleSources(const std::filesystem::path& databasePath, const std::filesystem::path& folder);

// The file name (without ".bas") a module's source is written under: the
// module's name with what a file name cannot or should not hold replaced.
std::string moduleFileStem(const std::string& moduleName);

}  // namespace ql::vba
