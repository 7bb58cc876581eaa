#pragma once
// The corpus of real Access files beside the clone (../shared/corpus), and its
// manifest: one row of named columns per file.
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace ql::test {

std::filesystem::path sharedDir();   // $QL_SHARED_DIR, else the build's default
std::filesystem::path corpusDir();   // sharedDir()/corpus
std::filesystem::path corpusFile(const std::string& name);  // corpusDir()/files/name

struct ManifestRow {
    std::map<std::string, std::string> cells;  // column name -> text
    const std::string& operator[](const std::string& column) const;
    int number(const std::string& column) const;  // 0 when empty
};

// Rows keyed by file name ("j3_afr.mdb" ...).
const std::map<std::string, ManifestRow>& manifest();

// File names by kind, sorted: Jet databases (.mdb .mde .mda of engine
// "Standard Jet DB"), workgroup files ("Jet System DB"), and the rest
// (ACE, .adp).
std::vector<std::string> jetDatabases();
std::vector<std::string> workgroupFiles();
std::vector<std::string> nonJetFiles();

// Reads a whole file; throws std::runtime_error when it cannot.
std::string readFile(const std::filesystem::path& path);

// Copies a corpus file into `folder` (named `as` when given), writable as a
// user's own file would be, and returns the copy's path.
std::filesystem::path writableCopy(const std::string& name, const std::filesystem::path& folder,
                                   const std::string& as = {});

}  // namespace ql::test
