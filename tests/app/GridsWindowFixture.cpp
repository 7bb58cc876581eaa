#include "tests/app/GridsWindowFixture.h"

#include <QTimer>

#include "env/RegistryValue.h"
#include "tests/support/Corpus.h"

namespace ql::test {

GridsWindowTest::~GridsWindowTest() {
    analysisWindow_.reset();
    QCoreApplication::processEvents();
}

AnalysisWindow& GridsWindowTest::loaded() {
    // What start-up finds on this machine: the module scan needs it.
    values.AccessApplicationClass = env::GetAccessApplicationClass(registry);
    app::Services s;
    s.ui = &ui;
    s.registry = &registry;
    s.settings = &settings;
    s.program = &values;
    s.help = &help;
    s.programFolder = program.path().string();
    s.fileExists = [](const std::string&) { return false; };
    s.endProgram = [this] { ++programEnds; };
    analysisWindow_ = std::make_unique<AnalysisWindow>(s);
    analysisWindow_->Timer1()->setInterval(5);
    ui.answer(ui::Answer::Yes);
    analysisWindow_->Form_Load();
    return *analysisWindow_;
}

AnalysisWindow& GridsWindowTest::reloaded() {
    analysisWindow_.reset();
    QCoreApplication::processEvents();
    return loaded();
}

std::filesystem::path GridsWindowTest::copyOf(const std::string& corpusName) {
    const auto target = data.path() / corpusName;
    std::filesystem::copy_file(corpusFile(corpusName), target, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::permissions(target, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    return target;
}

void GridsWindowTest::openCopy(const std::string& corpusName) {
    auto& w = *analysisWindow_;
    const auto path = copyOf(corpusName);
    dao::DBEngine engine;
    w.state().CurrentDb = engine.OpenDatabase(path.string(), false, true);
    w.state().DbEngine = engine;
    w.state().ActualDbPath = path.string();
    w.controls().setTxtMDB(path.string());
    chooseErrorLog();
}

void GridsWindowTest::chooseErrorLog() {
    analysisWindow_->state().ErrorLogPath = (data.path() / "Errors.Log").string();
}

}  // namespace ql::test
