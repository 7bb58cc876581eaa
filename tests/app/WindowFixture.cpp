#include "tests/app/WindowFixture.h"

#include <QElapsedTimer>
#include <QListWidget>
#include <QTreeWidget>
#include <QPushButton>
#include <QTimer>

#include "env/RegistryValue.h"
#include "tests/support/Corpus.h"

namespace ql::test {

QApplication& application() {
    static int argc = 1;
    static char name[] = "window-test";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

void onModal(std::function<void(QWidget*)> act) {
    auto* timer = new QTimer;
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, [timer, clock, act] {
        if (auto* modal = QApplication::activeModalWidget()) {
            timer->stop();
            timer->deleteLater();
            act(modal);
        } else if (clock->elapsed() > 5000) {
            timer->stop();
            timer->deleteLater();
            ADD_FAILURE() << "no modal dialog opened";
        }
    });
    timer->start();
}

std::string text(const QString& s) { return s.toStdString(); }

WindowTest::WindowTest() {
    application();
    values.LoginUserName = "jsmith";
    values.WindowsFolder = "/usr/bin/";
    values.WindowsVersionName = "Unknown";
    // What start-up finds on this machine: the module scan needs it.
    values.AccessApplicationClass = env::GetAccessApplicationClass(registry);
}

WindowTest::~WindowTest() {
    window_.reset();
    QCoreApplication::processEvents();
}

TestWindow& WindowTest::window() {
    if (!window_) {
        app::Services s;
        s.ui = &ui;
        s.registry = &registry;
        s.settings = &settings;
        s.program = &values;
        s.help = &help;
        s.programFolder = program.path().string();
        s.fileExists = [](const std::string&) { return false; };
        s.endProgram = [this] { ++programEnds; };
        window_ = std::make_unique<TestWindow>(s);
    }
    return *window_;
}

TestWindow& WindowTest::load(ui::Answer security) {
    ui.answer(security);
    auto& w = window();
    w.Form_Load();
    return w;
}

TestWindow& WindowTest::loadRunning() {
    window_.reset();
    QCoreApplication::processEvents();
    auto& w = window();
    w.runCommands = true;
    w.Timer1()->setInterval(5);
    return load();
}

void WindowTest::chooseDatabase(const std::string& database, const std::string& workgroup) {
    ui.chooseFile(writableCopy(workgroup, data.path()).string());
    ui.chooseFile(writableCopy(database, data.path()).string());
    window_->cmdFind()->click();
}

void WindowTest::analyse() {
    window_->state().ErrorLogPath = (data / "Errors.Log").string();
    window_->cmdAnalyse()->setEnabled(true);
    window_->cmdAnalyse()->click();
}

void WindowTest::clickKind(const char* kind) {
    const auto found =
        window_->lstItem()->findItems(QString::fromLatin1(kind), Qt::MatchExactly | Qt::MatchCaseSensitive);
    ASSERT_EQ(found.size(), 1) << kind;
    window_->lstItem()->setCurrentItem(found.front());
    emit window_->lstItem()->itemClicked(found.front());
}

std::vector<int> WindowTest::shownGrids() const {
    std::vector<int> out;
    for (int g = 0; g < grids::kGridCount; ++g)
        if (!window_->lvwGrid(g)->isHidden()) out.push_back(g);
    return out;
}

}  // namespace ql::test
