#include "tests/platform/vba/CorpusTables.h"

#include "tests/support/Corpus.h"

namespace ql::vba::test {

CorpusTables::CorpusTables(const std::string& file)
    : db_(jet::Database::open(ql::test::corpusFile(file))), tables_(db_) {}

std::unique_ptr<CorpusTables> tablesOf(const std::string& file) { return std::make_unique<CorpusTables>(file); }

VbaProject projectOf(const std::string& file) {
    CorpusTables tables(file);
    return loadVbaProject(*tables);
}

}  // namespace ql::vba::test
