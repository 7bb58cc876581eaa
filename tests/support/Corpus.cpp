#include "tests/support/Corpus.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ql::test {

std::filesystem::path sharedDir() {
    if (const char* env = std::getenv("QL_SHARED_DIR"); env && *env) return env;
    return QL_TEST_SHARED_DIR;
}

std::filesystem::path corpusDir() { return sharedDir() / "corpus"; }

std::filesystem::path corpusFile(const std::string& name) { return corpusDir() / "files" / name; }

const std::string& ManifestRow::operator[](const std::string& column) const {
    static const std::string empty;
    auto it = cells.find(column);
    return it == cells.end() ? empty : it->second;
}

int ManifestRow::number(const std::string& column) const {
    const std::string& text = (*this)[column];
    return text.empty() ? 0 : std::stoi(text);
}

namespace {
std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> out;
    std::string cell;
    std::istringstream in(line);
    while (std::getline(in, cell, '\t')) out.push_back(cell);
    if (!line.empty() && line.back() == '\t') out.emplace_back();
    return out;
}
}  // namespace

const std::map<std::string, ManifestRow>& manifest() {
    static const std::map<std::string, ManifestRow> rows = [] {
        std::map<std::string, ManifestRow> result;
        std::istringstream in(readFile(corpusDir() / "manifest.tsv"));
        std::string line;
        std::getline(in, line);
        const std::vector<std::string> header = splitTabs(line);
        while (std::getline(in, line)) {
            if (line.empty()) continue;
            const std::vector<std::string> cells = splitTabs(line);
            ManifestRow row;
            for (size_t i = 0; i < header.size() && i < cells.size(); ++i) row.cells[header[i]] = cells[i];
            result[row["name"]] = row;
        }
        return result;
    }();
    return rows;
}

std::vector<std::string> jetDatabases() {
    std::vector<std::string> names;
    for (const auto& [name, row] : manifest())
        if (row["engine"] == "Standard Jet DB") names.push_back(name);
    return names;
}

std::vector<std::string> workgroupFiles() {
    std::vector<std::string> names;
    for (const auto& [name, row] : manifest())
        if (row["engine"] == "Jet System DB") names.push_back(name);
    return names;
}

std::vector<std::string> nonJetFiles() {
    std::vector<std::string> names;
    for (const auto& [name, row] : manifest())
        if (row["engine"] != "Standard Jet DB" && row["engine"] != "Jet System DB") names.push_back(name);
    return names;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::filesystem::path writableCopy(const std::string& name, const std::filesystem::path& folder,
                                   const std::string& as) {
    namespace fs = std::filesystem;
    const fs::path target = folder / (as.empty() ? name : as);
    fs::copy_file(corpusFile(name), target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    return target;
}

}  // namespace ql::test
