#include "app/frmQuarrylantern.h"

#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>
#include <cstdlib>

#include "Version.h"
#include "analysis/AnalysisRun.h"
#include "analysis/FormatQuerySql.h"
#include "app/EventPump.h"
#include "app/WindowControlsQt.h"
#include "app/frmAbout.h"
#include "app/frmEditor.h"
#include "grids/ErrorLog.h"
#include "grids/Fillers.h"
#include "grids/UnhandledError.h"
#include "open/FindDatabase.h"
#include "platform/Invariant.h"
#include "platform/vb/VbText.h"
#include "report/OutputDestination.h"
#include "platform/vba/Automation.h"
#include "viewers/About.h"
#include "viewers/OutputViewer.h"
#include "viewers/WebSite.h"

namespace ql::app {

using grids::kTabDatabase;
using grids::kTabStatistics;

namespace {

const char* const kStepCaptions[grids::kStepCount] = {
    "Select SYSTEM Database", "Select ACTUAL Database", "Choose Format", "Define Output File",
    "Analyse Database",       "Translate Sections",     "Show Results",
};

const char* const kTabCaptions[grids::kTabCount] = {
    "Tables", "Views/Procs", "Indexes", "Relations", "Fields",   "Forms",
    "Reports", "Macros",     "Modules", "Statistics", "Database", "DataPages",
};

const char* const kFormatCaptions[kFormatCount] = {"Text", "XML", "Char Separated Value", "Excel"};

// The results list's kinds in their order, each with the grid it shows.
struct Kind {
    const char* name;
    int grid;
};
constexpr Kind kKinds[] = {
    {"Database", grids::kGridDatabase}, {"Tables", grids::kGridTables},
    {"Fields", grids::kGridFields},     {"Queries", grids::kGridQueries},
    {"Indexes", grids::kGridIndexes},   {"Macros", grids::kGridMacros},
    {"Modules", grids::kGridModules},   {"Relationships", grids::kGridRelations},
    {"Miscellaneous", grids::kGridMiscellaneous},
};

constexpr const char* kAppTitle = viewers::kProductName;

QString q(const std::string& s) { return QString::fromStdString(s); }

}  // namespace

std::string frmQuarrylantern::windowTitleFor(const std::string& user) {
    return std::string(kAppTitle) + " - " + std::to_string(QL_VERSION_MAJOR) + "." +
           std::to_string(QL_VERSION_MINOR) + "." + std::to_string(QL_VERSION_PATCH) + " : " + user;
}

frmQuarrylantern::frmQuarrylantern(Services services, QWidget* parent)
    : QMainWindow(parent), services_(std::move(services)) {
    setObjectName(QStringLiteral("frmQuarrylantern"));
    setWindowTitle(QString::fromLatin1(kAppTitle));

    buildMenus();

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    SSTab_ = new QTabWidget(central);
    SSTab_->setObjectName(QStringLiteral("SSTab"));
    for (int tab = 0; tab < grids::kTabCount; ++tab) {
        auto* page = new QFrame;
        page->setObjectName(QStringLiteral("fraTab%1").arg(tab));
        fraTab_[static_cast<std::size_t>(tab)] = page;
        if (tab == kTabDatabase)
            buildDatabaseTab(page);
        else if (tab == kTabStatistics)
            buildStatisticsTab(page);
        else
            buildListTab(tab, page);
        SSTab_->addTab(page, QString::fromLatin1(kTabCaptions[tab]));
    }
    layout->addWidget(SSTab_, 1);

    auto* bottom = new QHBoxLayout;
    pgb_ = new QProgressBar(central);
    pgb_->setObjectName(QStringLiteral("pgb"));
    pgb_->setTextVisible(false);
    pgb_->setValue(0);
    pgb_->hide();  // shown while long work reports progress
    bottom->addWidget(pgb_, 1);
    bottom->addStretch();
    // The count-down label only serves Delay; it is not for the user's eyes.
    lblCount_ = new QLabel(QStringLiteral("0"), central);
    lblCount_->setObjectName(QStringLiteral("lblCount"));
    lblCount_->hide();
    bottom->addWidget(lblCount_);
    cmdClose_ = new QPushButton(QStringLiteral("Close"), central);
    cmdClose_->setObjectName(QStringLiteral("cmdClose"));
    cmdClose_->setToolTip(QStringLiteral("Close Quarrylantern"));
    bottom->addWidget(cmdClose_);
    layout->addLayout(bottom);
    setCentralWidget(central);

    ssbPanel_ = new QLabel(QStringLiteral("Ready"), this);
    ssbPanel_->setObjectName(QStringLiteral("ssbPanel1"));
    statusBar()->setObjectName(QStringLiteral("ssb"));
    statusBar()->addWidget(ssbPanel_, 1);

    Timer1_ = new QTimer(this);
    Timer1_->setObjectName(QStringLiteral("Timer1"));
    Timer1_->setInterval(1000);
    connect(Timer1_, &QTimer::timeout, this, [this] { Timer1_Timer(); });

    connect(cmdFind_, &QPushButton::clicked, this, [this] { cmdFind_Click(); });
    connect(cmdOut_, &QPushButton::clicked, this, [this] { cmdOut_Click(); });
    connect(cmdAnalyse_, &QPushButton::clicked, this, [this] { cmdAnalyse_Click(); });
    connect(cmdView_, &QPushButton::clicked, this, [this] { cmdView_Click(); });
    connect(cmdClose_, &QPushButton::clicked, this, [this] { cmdClose_Click(); });
    connect(chkIncludeStats_, &QCheckBox::toggled, this, [this] { chkIncludeStats_Click(); });
    connect(chkQryControl_, &QCheckBox::toggled, this, [this] { chkQryControl_Click(); });
    chkIncludeStats_->installEventFilter(this);
    for (int i = 0; i < kFormatCount; ++i)
        connect(optFormat_[static_cast<std::size_t>(i)], &QRadioButton::clicked, this,
                [this, i] { optFormat_Click(i); });
    connect(lstItem_, &QListWidget::itemClicked, this, [this] { lstItem_Click(); });
    connect(SSTab_, &QTabWidget::currentChanged, this, [this](int now) {
        const int left = currentTab_;
        currentTab_ = now;
        SSTab_Click(left);
    });
    currentTab_ = SSTab_->currentIndex();

    controls_ = std::make_unique<WindowControlsQt>(*this);
    context_ = std::make_unique<grids::WindowContext>(grids::WindowContext{
        state_, *services_.ui, *controls_, *services_.program, *services_.settings, services_.programFolder});

    setKeyboardOrder();
    resize(980, 580);
}

void frmQuarrylantern::setKeyboardOrder() {
    // Tab follows the work steps, then the results, Close and the tab bar.
    // "Include Statistics in Results" hands the focus to "Output To..."
    // itself, so "Output To..." follows it here too.
    SSTab_->tabBar()->setFocusPolicy(Qt::StrongFocus);
    QList<QWidget*> order{cmdFind_, txtMDB_};
    for (auto* opt : optFormat_) order << opt;
    order << chkIncludeStats_ << cmdOut_ << txtOut_ << chkQryControl_ << cmdAnalyse_ << cmdView_;
    for (int tab = 0; tab < grids::kTabCount; ++tab) {
        if (tab == kTabDatabase) continue;
        if (tab == kTabStatistics) {
            order << lstItem_;
            for (auto* grid : lvwGrid_) order << grid;
            continue;
        }
        order << lstData_[static_cast<std::size_t>(tab)];
        for (int index = 0; index < kSelectButtonCount; ++index) {
            const auto action = grids::selectButtonAction(index);
            if (action && action->list == tab) order << cmdSelect_[static_cast<std::size_t>(index)];
        }
        order << cmdTrans_[static_cast<std::size_t>(tab)];
    }
    order << cmdClose_ << SSTab_->tabBar();
    for (int i = 0; i + 1 < order.size(); ++i) QWidget::setTabOrder(order[i], order[i + 1]);
}

frmQuarrylantern::~frmQuarrylantern() = default;

QAction* frmQuarrylantern::action(const char* name) const {
    return findChild<QAction*>(QString::fromLatin1(name));
}

QMenu* frmQuarrylantern::menu(const char* name) const {
    return findChild<QMenu*>(QString::fromLatin1(name));
}

void frmQuarrylantern::buildMenus() {
    auto addMenu = [this](const char* name, const char* caption) {
        auto* m = menuBar()->addMenu(QString::fromLatin1(caption));
        m->setObjectName(QString::fromLatin1(name));
        m->menuAction()->setObjectName(QString::fromLatin1(name));
        return m;
    };
    auto addItem = [this](QMenu* m, const char* name, const char* caption,
                          std::function<void()> handler) {
        auto* a = m->addAction(QString::fromLatin1(caption));
        a->setObjectName(QString::fromLatin1(name));
        if (handler) connect(a, &QAction::triggered, this, [handler] { handler(); });
        return a;
    };
    auto addSeparator = [](QMenu* m, const char* name) {
        m->addSeparator()->setObjectName(QString::fromLatin1(name));
    };

    auto* file = addMenu("mnuFile", "&File");
    addItem(file, "mnuDatabase", "&Database...", [this] { cmdFind_Click(); });
    addItem(file, "mnuOutPut", "&OutPut To...", [this] { cmdOut_Click(); });
    addItem(file, "mnuAnalyse", "&Analyse", [this] { cmdAnalyse_Click(); });
    addSeparator(file, "mnuBar1");
    addItem(file, "mnuViewResults", "&View Results", [this] { cmdView_Click(); });
    addSeparator(file, "mnuBar2");
    addItem(file, "mnuExit", "E&xit", [this] { cmdClose_Click(); });

    auto* translate = addMenu("mnuTranslate", "&Translate");
    addItem(translate, "mnuTransForms", "&Forms", [this] { cmdTrans_Click(grids::kTabForms); });
    addItem(translate, "mnuTransReports", "&Reports", [this] { cmdTrans_Click(grids::kTabReports); });
    addItem(translate, "mnuTransMacros", "Ma&cros", [this] { cmdTrans_Click(grids::kTabMacros); });
    addItem(translate, "mnuTransModules", "&Modules", [this] { cmdTrans_Click(grids::kTabModules); });
    addItem(translate, "mnuTransTables", "&Tables", [this] { cmdTrans_Click(grids::kTabTables); });
    addItem(translate, "mnuTransViews", "&Views", [this] { cmdTrans_Click(grids::kTabViews); });
    addItem(translate, "mnuTransIndexes", "&Indexes", [this] { cmdTrans_Click(grids::kTabIndexes); });
    addItem(translate, "mnuTransRelationships", "&Relationships",
            [this] { cmdTrans_Click(grids::kTabRelations); });

    auto* options = addMenu("mnuOptions", "&Options");
    // The two check items toggle themselves in their handlers, as the
    // handlers are also called directly; Qt's own toggle is undone first.
    auto* queries = addItem(options, "mnuControlQueriesCheck", "&Control Queries", nullptr);
    queries->setCheckable(true);
    connect(queries, &QAction::triggered, this, [this, queries] {
        toggleUndone(queries);
        mnuControlQueriesCheck_Click();
    });
    auto* stats = addItem(options, "mnuStatisticsCheck", "&Statistics", nullptr);
    stats->setCheckable(true);
    connect(stats, &QAction::triggered, this, [this, stats] {
        toggleUndone(stats);
        mnuStatisticsCheck_Click();
    });
    addItem(options, "mnuEditor", "&Text Editor...", [this] { mnuEditor_Click(); });
    addItem(options, "mnuXMLEditor", "&XML Editor...", [this] { mnuXMLEditor_Click(); });

    auto* statistics = addMenu("mnuStatistics", "&Statistics");
    addItem(statistics, "mnuViewStatsDb", "&Database", [this] { MakeGridVisible(0); });
    addItem(statistics, "mnuStatsTables", "&Tables", [this] { MakeGridVisible(1); });
    addItem(statistics, "mnuStatsFields", "&Fields", [this] { MakeGridVisible(2); });
    addItem(statistics, "mnuStatsViews", "&Views", [this] { MakeGridVisible(8); });
    addItem(statistics, "mnuStatsIndexes", "&Indexes", [this] { MakeGridVisible(4); });
    addItem(statistics, "mnuStatsRelations", "&Relationships", [this] { MakeGridVisible(7); });
    addItem(statistics, "mnuStatsMacros", "Ma&cros", [this] { MakeGridVisible(5); });
    addItem(statistics, "mnuStatsModules", "&Modules", [this] { MakeGridVisible(6); });
    // Forms and reports have no grid of their own.
    addItem(statistics, "mnuStatsForms", "&Forms", nullptr);
    addItem(statistics, "mnuStatsReports", "&Reports", nullptr);

    auto* help = addMenu("mnuHelp", "&Help");
    addItem(help, "mnuContextHelp", "Context Help", [this] { mnuContextHelp_Click(); });
    addItem(help, "mnuOrvexWeb", "&Orvex Web Site", [this] { mnuOrvexWeb_Click(); });
    addItem(help, "mnuHelpAbout", "&About", [this] { mnuHelpAbout_Click(); });
}

void frmQuarrylantern::toggleUndone(QAction* checkable) {
    QSignalBlocker block(checkable);
    checkable->setChecked(!checkable->isChecked());
}

void frmQuarrylantern::buildDatabaseTab(QWidget* page) {
    auto* layout = new QHBoxLayout(page);

    auto* steps = new QFrame(page);
    steps->setObjectName(QStringLiteral("fraSteps"));
    steps->setFrameShape(QFrame::StyledPanel);
    auto* stepsLayout = new QVBoxLayout(steps);
    for (int i = 0; i < grids::kStepCount; ++i) {
        auto* box = new QCheckBox(QString::fromLatin1(kStepCaptions[i]), steps);
        box->setObjectName(QStringLiteral("chkDone%1").arg(i));
        box->setTristate(true);  // the run greys out the translation step
        // The steps show progress; they are not for clicking.
        box->setAttribute(Qt::WA_TransparentForMouseEvents);
        box->setFocusPolicy(Qt::NoFocus);
        chkDone_[static_cast<std::size_t>(i)] = box;
        stepsLayout->addWidget(box);
    }
    stepsLayout->addStretch();
    layout->addWidget(steps);

    auto* work = new QVBoxLayout;
    auto* findRow = new QHBoxLayout;
    cmdFind_ = new QPushButton(QStringLiteral("Database.."), page);
    cmdFind_->setObjectName(QStringLiteral("cmdFind"));
    cmdFind_->setToolTip(QStringLiteral("Click to Select Workgroup and Database"));
    cmdFind_->setEnabled(false);  // until the security question is answered
    txtMDB_ = new QLineEdit(page);
    txtMDB_->setObjectName(QStringLiteral("txtMDB"));
    txtMDB_->setReadOnly(true);
    findRow->addWidget(cmdFind_);
    findRow->addWidget(txtMDB_, 1);
    work->addLayout(findRow);

    fraOutput_ = new QGroupBox(QStringLiteral("Output Format"), page);
    fraOutput_->setObjectName(QStringLiteral("fraOutput"));
    auto* formats = new QHBoxLayout(fraOutput_);
    optFormatGroup_ = new QButtonGroup(this);
    for (int i = 0; i < kFormatCount; ++i) {
        auto* opt = new QRadioButton(QString::fromLatin1(kFormatCaptions[i]), fraOutput_);
        opt->setObjectName(QStringLiteral("optFormat%1").arg(i));
        optFormatGroup_->addButton(opt, i);
        optFormat_[static_cast<std::size_t>(i)] = opt;
        formats->addWidget(opt);
    }
    formats->addStretch();
    work->addWidget(fraOutput_);

    auto* outRow = new QHBoxLayout;
    cmdOut_ = new QPushButton(QStringLiteral("Output To..."), page);
    cmdOut_->setObjectName(QStringLiteral("cmdOut"));
    cmdOut_->setToolTip(QStringLiteral("Select Output File"));
    // A report names its database: until one is open there is nothing to
    // choose an output for, and nothing the analysis could read.
    cmdOut_->setEnabled(false);
    txtOut_ = new QLineEdit(page);
    txtOut_->setObjectName(QStringLiteral("txtOut"));
    txtOut_->setReadOnly(true);
    outRow->addWidget(cmdOut_);
    outRow->addWidget(txtOut_, 1);
    work->addLayout(outRow);

    fraOptions_ = new QGroupBox(QStringLiteral("Options"), page);
    fraOptions_->setObjectName(QStringLiteral("fraOptions"));
    auto* opts = new QVBoxLayout(fraOptions_);
    chkIncludeStats_ = new QCheckBox(QStringLiteral("Include Statistics in Results"), fraOptions_);
    chkIncludeStats_->setObjectName(QStringLiteral("chkIncludeStats"));
    chkQryControl_ = new QCheckBox(QStringLiteral("Include Control Queries"), fraOptions_);
    chkQryControl_->setObjectName(QStringLiteral("chkQryControl"));
    opts->addWidget(chkIncludeStats_);
    opts->addWidget(chkQryControl_);
    work->addWidget(fraOptions_);

    auto* runRow = new QHBoxLayout;
    cmdAnalyse_ = new QPushButton(QStringLiteral("&Analyse"), page);
    cmdAnalyse_->setObjectName(QStringLiteral("cmdAnalyse"));
    cmdAnalyse_->setToolTip(QStringLiteral("Analyse Results"));
    cmdAnalyse_->setEnabled(false);  // until a database is open and an output file chosen
    cmdView_ = new QPushButton(QStringLiteral("&Results"), page);
    cmdView_->setObjectName(QStringLiteral("cmdView"));
    cmdView_->setToolTip(QStringLiteral("Display Results file"));
    cmdView_->setEnabled(false);
    runRow->addWidget(cmdAnalyse_);
    runRow->addWidget(cmdView_);
    runRow->addStretch();
    work->addLayout(runRow);
    work->addStretch();
    layout->addLayout(work, 1);
}

void frmQuarrylantern::buildStatisticsTab(QWidget* page) {
    auto* layout = new QHBoxLayout(page);
    lstItem_ = new QListWidget(page);
    lstItem_->setObjectName(QStringLiteral("lstItem"));
    lstItem_->setMaximumWidth(160);
    layout->addWidget(lstItem_);
    // Every grid sits in the same place beside the list; one shows at a time.
    auto* stack = new QGridLayout;
    for (int g = 0; g < grids::kGridCount; ++g) {
        auto* grid = new QTreeWidget(page);
        grid->setObjectName(QStringLiteral("lvwGrid%1").arg(g));
        grid->setRootIsDecorated(false);
        grid->setUniformRowHeights(true);
        grid->setAllColumnsShowFocus(true);
        grid->setColumnCount(0);
        grid->setHeaderLabels({});
        // Sizing to the contents looks at every row, not only the first thousand.
        grid->header()->setResizeContentsPrecision(-1);
        // Every column keeps the width it was given, the last one too.
        grid->header()->setStretchLastSection(false);
        grid->hide();
        connect(grid, &QTreeWidget::itemDoubleClicked, this, [this, g, grid](QTreeWidgetItem* item) {
            lvwGrid_DblClick(g, grid->indexOfTopLevelItem(item));
        });
        lvwGrid_[static_cast<std::size_t>(g)] = grid;
        grid->installEventFilter(this);
        stack->addWidget(grid, 0, 0);
    }
    layout->addLayout(stack, 1);
}

void frmQuarrylantern::buildListTab(int tab, QWidget* page) {
    auto* layout = new QHBoxLayout(page);
    auto* list = new QListWidget(page);
    list->setObjectName(QStringLiteral("lstData%1").arg(tab));
    list->setSelectionMode(QAbstractItemView::MultiSelection);
    lstData_[static_cast<std::size_t>(tab)] = list;
    connect(list, &QListWidget::itemSelectionChanged, this, [this, tab] { nameSelectionChanged(tab); });
    layout->addWidget(list, 1);

    auto* buttons = new QVBoxLayout;
    for (int index = 0; index < kSelectButtonCount; ++index) {
        const auto action = grids::selectButtonAction(index);
        if (!action || action->list != tab) continue;
        auto* b = new QPushButton(action->select ? QStringLiteral("Select &All") : QStringLiteral("&Clear All"), page);
        b->setObjectName(QStringLiteral("cmdSelect%1").arg(index));
        b->setToolTip(action->select ? QStringLiteral("Select ALL entries") : QStringLiteral("Deselect ALL entries"));
        connect(b, &QPushButton::clicked, this, [this, index] { cmdSelect_Click(index); });
        cmdSelect_[static_cast<std::size_t>(index)] = b;
        buttons->addWidget(b);
    }
    auto* trans = new QPushButton(QStringLiteral("&Translate"), page);
    trans->setObjectName(QStringLiteral("cmdTrans%1").arg(tab));
    connect(trans, &QPushButton::clicked, this, [this, tab] { cmdTrans_Click(tab); });
    cmdTrans_[static_cast<std::size_t>(tab)] = trans;
    buttons->addWidget(trans);
    buttons->addStretch();
    layout->addLayout(buttons);
}

void frmQuarrylantern::Form_Load() {
    auto& program = *services_.program;
    setWindowTitle(q(windowTitleFor(program.LoginUserName)));

    program.TextEditorPath = env::kDefaultEditor;
    program.XmlEditorPath = env::kDefaultEditor;

    action("mnuEditor")->setEnabled(false);
    chkQryControl_->setChecked(false);
    chkQryControl_->setEnabled(false);
    action("mnuControlQueriesCheck")->setChecked(false);
    action("mnuControlQueriesCheck")->setEnabled(false);

    SSTab_->setCurrentIndex(kTabDatabase);
    state_.ActualDbPath.clear();
    state_.OutputPath.clear();

    lstItem_->clear();
    for (const Kind& kind : kKinds) lstItem_->addItem(QString::fromLatin1(kind.name));

    for (int i = 0; i < grids::kTabCount; ++i)
        if (cmdTrans_[static_cast<std::size_t>(i)] && (i <= 8 || i == grids::kTabDataPages))
            cmdTrans_[static_cast<std::size_t>(i)]->setEnabled(false);

    optFormatGroup_->setExclusive(false);
    for (auto* opt : optFormat_) opt->setChecked(false);
    optFormatGroup_->setExclusive(true);
    fraOutput_->setEnabled(false);

    for (int i = 0; i < grids::kTabCount; ++i) {
        if (i == kTabDatabase) continue;
        SSTab_->setTabEnabled(i, false);
        fraTab_[static_cast<std::size_t>(i)]->hide();
    }

    show();
    const auto answer = services_.ui->message(
        "*** WARNING ***\r\nHAS User / Password protection has been removed???", "REMOVED SECURITY",
        ui::Buttons::YesNo, ui::Icon::Question);
    const bool goOn = answer == ui::Answer::Yes;
    cmdFind_->setEnabled(goOn);
    // The menu item is the same command: without this a No would not keep
    // the user from opening a database.
    action("mnuDatabase")->setEnabled(goOn);
    if (goOn) cmdFind_->setFocus();

    helpFile_ = viewers::HelpFilePath(services_.programFolder);

    setStepCurrent(grids::kStepSystemDb, true);

    runTrapped([&] {
        viewers::FirstRunHelp(*services_.settings, *services_.help, *services_.ui, program.WindowsFolder,
                              helpFile_);
    });

    menu("mnuTranslate")->menuAction()->setEnabled(false);
    action("mnuOutPut")->setEnabled(false);
    action("mnuViewResults")->setEnabled(false);
    menu("mnuStatistics")->menuAction()->setEnabled(false);
    action("mnuAnalyse")->setEnabled(false);
}

void frmQuarrylantern::runTrapped(const std::function<void()>& command) {
    try {
        command();
    } catch (const ui::RuntimeError& e) {
        services_.ui->message(e.description(), kAppTitle);
    } catch (const std::exception& e) {
        services_.ui->message(e.what(), kAppTitle);
    }
}

void frmQuarrylantern::setStepCurrent(int step, bool current) {
    auto* box = chkDone(step);
    auto font = box->font();
    font.setBold(current);
    box->setFont(font);
}

bool frmQuarrylantern::stepCurrent(int step) const { return chkDone(step)->font().bold(); }

void frmQuarrylantern::SetStatusText(const std::string& text) { services_.ui->setStatusText(text); }

grids::WindowControls& frmQuarrylantern::controls() { return *controls_; }

void frmQuarrylantern::runCommand(const std::function<void(grids::WindowContext&)>& command) {
    std::optional<RuntimeError> unhandled;
    try {
        const EventPump pump(services_.eventPumpInterval);
        command(*context_);
    } catch (const grids::UnhandledError& e) {
        unhandled = e.error();
    } catch (const std::exception& e) {
        // Nothing may leave a Qt slot; whatever a command let through is
        // what the runtime would have reported.
        unhandled = grids::asRuntimeError(e);
    }
    if (!unhandled) return;
    // The command may have left the busy pointer on; the message is read
    // under the normal one.
    services_.ui->setMousePointer(ui::MousePointer::Default);
    services_.ui->message(grids::runtimeErrorText(*unhandled), kAppTitle, ui::Buttons::OK, ui::Icon::Critical);
    // The close command's report steps do not run after such an error: the
    // report keeps what it has, without statistics, but an XML report still
    // gets its closing line, so that it stays well-formed.
    try {
        report::closeOutput(*context_);
    } catch (const std::exception&) {
        // Nothing more can be told: the error has been reported.
    }
    // The runtime would end the program here; we close through the unload,
    // so the automation object is quit and the event loop left normally.
    close();
}

bool frmQuarrylantern::commandStarts(const std::string& command) {
    return !services_.commandStarting || services_.commandStarting(command);
}

void frmQuarrylantern::cmdFind_Click() {
    if (!commandStarts("cmdFind_Click")) return;
    const jet::Database* before = state_.CurrentDb ? &state_.CurrentDb->jet() : nullptr;
    runCommand([](grids::WindowContext& ctx) { open::cmdFind_Click(ctx); });
    // A query's SQL shown from the previous database is not the new one's.
    const jet::Database* now = state_.CurrentDb ? &state_.CurrentDb->jet() : nullptr;
    if (now != before)
        for (auto* sql : findChildren<frmQuerySql*>()) sql->close();
}

// The run repaints the window where it sets a status text and lets events
// run only near its end; the controls that would start it again are
// switched off by the run itself, at that end.
void frmQuarrylantern::cmdAnalyse_Click() {
    if (!commandStarts("cmdAnalyse_Click")) return;
    runCommand([](grids::WindowContext& ctx) { analysis::cmdAnalyse_Click(ctx); });
}

void frmQuarrylantern::cmdOut_Click() {
    if (!commandStarts("cmdOut_Click")) return;
    runCommand([](grids::WindowContext& ctx) { report::cmdOut_Click(ctx); });
}

void frmQuarrylantern::cmdView_Click() {
    if (!commandStarts("cmdView_Click")) return;
    runCommand([this](grids::WindowContext& ctx) { viewers::cmdView_Click(ctx, *services_.registry); });
}

void frmQuarrylantern::optFormat_Click(int index) {
    if (!commandStarts("optFormat_Click " + std::to_string(index))) return;
    runCommand([this, index](grids::WindowContext& ctx) {
        report::optFormat_Click(ctx, index, *services_.registry);
    });
}

void frmQuarrylantern::lstItem_Click() {
    if (txtMDB_->text().isEmpty()) return;
    // The list's text: that of its selected entry, empty when none is.
    const auto selected = lstItem_->selectedItems();
    const QString kind = selected.isEmpty() ? QString() : selected.front()->text();
    for (const auto& [name, grid] : kKinds) {
        if (kind == QLatin1String(name)) {
            MakeGridVisible(grid);
            return;
        }
    }
}

void frmQuarrylantern::MakeGridVisible(int grid) {
    for (int i = 0; i < grids::kGridCount; ++i) {
        auto* view = lvwGrid(i);
        if (i == grid) {
            view->setVisible(true);
            view->raise();
        } else {
            view->setVisible(false);
            view->lower();
        }
    }
}

void frmQuarrylantern::AutoSizeGridColumns(int grid) {
    QAbstractItemView* view = lvwGrid(grid);  // the tree view hides its public size hint
    // The contents alone decide, not the header text: the run asks for the
    // fit-the-contents width, never for the one that includes the header.
    auto* tree = lvwGrid(grid);
    for (int c = 1; c < tree->columnCount(); ++c) {
        const int width = view->sizeHintForColumn(c);
        if (width >= 0) tree->setColumnWidth(c, width);
    }
    repaint();
}

void frmQuarrylantern::lvwGrid_DblClick(int grid, int row) {
    // Row 0 is the count row; the rows after it are one query each.
    if (grid != grids::kGridQueries || row < 1) return;
    const auto& rows = state_.lvwGrid[grids::kGridQueries].rows();
    if (row >= static_cast<int>(rows.size())) return;
    showQuerySql(rows[static_cast<std::size_t>(row)].text);
}

void frmQuarrylantern::showQuerySql(const std::string& name) {
    runTrapped([&] {
        if (!state_.CurrentDb) throw RuntimeError(91, "Object variable or With block variable not set");
        std::string sql = state_.CurrentDb->QueryDefs()[name].SQL();
        analysis::FormatQuerySql(sql);
        auto* window = new frmQuerySql(q(name), q(sql), this);
        querySql_ = window;
        window->show();
    });
}

void frmQuarrylantern::cmdTrans_Click(int index) {
    switch (index) {
    case grids::kTabTables: TransTables(); break;
    case grids::kTabViews: TransViews(); break;
    case grids::kTabIndexes: TransIndexes(); break;
    case grids::kTabRelations: TransRelations(); break;
    case grids::kTabForms: TransForms(); break;
    case grids::kTabReports: TransReports(); break;
    case grids::kTabMacros: TransMacros(); break;
    case grids::kTabModules: TransModules(); break;
    case grids::kTabDataPages: TransDataPages(); break;
    default: break;
    }
}

void frmQuarrylantern::chkIncludeStats_Click() {
    action("mnuStatisticsCheck")->setChecked(chkIncludeStats_->isChecked());
}

void frmQuarrylantern::chkIncludeStats_KeyPress(int keyAscii) {
    if (keyAscii == 13 || keyAscii == 9) cmdOut_->setFocus();
}

void frmQuarrylantern::chkQryControl_Click() {
    const bool on = chkQryControl_->isChecked();
    state_.IncludeTempQueries = on ? grids::kTrue : grids::kFalse;
    action("mnuControlQueriesCheck")->setChecked(on);
}

void frmQuarrylantern::mnuControlQueriesCheck_Click() {
    auto* item = action("mnuControlQueriesCheck");
    item->setChecked(!item->isChecked());
    chkQryControl_->setChecked(item->isChecked());
    chkQryControl_Click();
}

void frmQuarrylantern::mnuStatisticsCheck_Click() {
    auto* item = action("mnuStatisticsCheck");
    item->setChecked(!item->isChecked());
    chkIncludeStats_->setChecked(item->isChecked());
}

void frmQuarrylantern::mnuEditor_Click() {
    services_.program->editorKind = env::EditorKind::Text;
    frmEditor dialog(*services_.program, *services_.settings, *services_.ui, this);
    dialog.exec();
}

void frmQuarrylantern::mnuXMLEditor_Click() {
    services_.program->editorKind = env::EditorKind::Xml;
    frmEditor dialog(*services_.program, *services_.settings, *services_.ui, this);
    dialog.exec();
}

void frmQuarrylantern::mnuHelpAbout_Click() {
    frmAbout about(*services_.registry, *services_.ui, services_.fileExists, this);
    about.exec();
}

void frmQuarrylantern::mnuOrvexWeb_Click() {
    runTrapped([this] { viewers::OpenWebSite(*services_.registry, *services_.ui); });
}

void frmQuarrylantern::mnuContextHelp_Click() {
    action("mnuContextHelp")->setProperty("HelpContextID", viewers::kContextHelpId);
    runTrapped([this] { viewers::ShowContextHelp(*services_.help, helpFile_); });
}

void frmQuarrylantern::cmdSelect_Click(int index) {
    SetStatusText("Selecting....");
    const auto action = grids::selectButtonAction(index);
    if (!action) return;
    grids::applySelectButton(state_, index);
    mirrorNameList(action->list);
}

void frmQuarrylantern::nameSelectionChanged(int list) {
    if (mirroring_) return;
    QL_INVARIANT(list >= 0 && list < grids::kNameListCount);
    auto& names = state_.lstData[static_cast<std::size_t>(list)];
    auto* widget = lstData(list);
    for (int i = 0; i < names.ListCount() && i < widget->count(); ++i)
        names.SetSelected(i, widget->item(i)->isSelected());
}

void frmQuarrylantern::mirrorNameList(int i) {
    auto* widget = lstData(i);
    if (!widget) return;
    QL_INVARIANT(i >= 0 && i < grids::kNameListCount);
    const auto& names = state_.lstData[static_cast<std::size_t>(i)];
    mirroring_ = true;
    if (widget->count() != names.ListCount()) {
        widget->clear();
        for (const auto& e : names.entries()) widget->addItem(q(e.text));
    }
    for (int k = 0; k < names.ListCount(); ++k) {
        auto* item = widget->item(k);
        if (item->text() != q(names.List(k))) item->setText(q(names.List(k)));
        item->setSelected(names.Selected(k));
    }
    mirroring_ = false;
}

void frmQuarrylantern::mirrorGrid(int i) {
    auto* view = lvwGrid(i);
    QL_INVARIANT(view && i >= 0 && i < grids::kGridCount);
    const auto& grid = state_.lvwGrid[static_cast<std::size_t>(i)];
    // Drawn from scratch: a grid refilled by a later run keeps nothing of
    // its earlier rows or columns.
    view->clear();
    view->setColumnCount(grid.columnCount());
    QStringList headers;
    for (const auto& c : grid.columns()) headers << q(c.text);
    view->setHeaderLabels(headers);
    const int dpi = logicalDpiX() > 0 ? logicalDpiX() : 96;
    auto align = [](grids::Alignment a) {
        switch (a) {
        case grids::Alignment::Right: return Qt::AlignRight | Qt::AlignVCenter;
        case grids::Alignment::Center: return Qt::AlignHCenter | Qt::AlignVCenter;
        case grids::Alignment::Left: break;
        }
        return Qt::AlignLeft | Qt::AlignVCenter;
    };
    for (int c = 0; c < grid.columnCount(); ++c) {
        const auto& column = grid.columns()[static_cast<std::size_t>(c)];
        view->setColumnWidth(c, column.width() * dpi / grids::kTwipsPerInch);
        view->headerItem()->setTextAlignment(c, align(column.alignment));
        // Columns are fitted to their contents only, which can cut a
        // header short ("cords" for "Records"): the whole text shows on hover.
        view->headerItem()->setToolTip(c, q(column.text));
    }
    QList<QTreeWidgetItem*> items;
    items.reserve(grid.rowCount());
    for (const auto& row : grid.rows()) {
        auto* item = new QTreeWidgetItem;
        item->setText(0, q(row.text));
        for (int c = 1; c < grid.columnCount(); ++c) {
            item->setText(c, q(row.subItem(c)));
            item->setTextAlignment(c, align(grid.columns()[static_cast<std::size_t>(c)].alignment));
        }
        items << item;
    }
    // One insertion for all rows: the fields grid of a large database has
    // thousands.
    view->addTopLevelItems(items);
}

void frmQuarrylantern::SSTab_Click(int previousTab) {
    for (int i = 0; i < grids::kTabCount; ++i) fraTab(i)->hide();
    if (auto* current = SSTab_->currentWidget()) current->show();
    if (previousTab == kTabStatistics)
        for (auto* grid : lvwGrid_) grid->setVisible(false);
    if (SSTab_->currentIndex() == kTabStatistics && !lstItem_->selectedItems().isEmpty()) lstItem_Click();
}

void frmQuarrylantern::Timer1_Timer() {
    const double next = vb::Val(lblCount_->text().toStdString()) - 1;
    // Formatted as a whole number, halves rounded away from zero.
    lblCount_->setText(QString::number(static_cast<long long>(std::round(next))));
}

bool frmQuarrylantern::Delay(std::int16_t& nSecs) {
    lblCount_->setText(QString::number(nSecs));
    Timer1_->start();
    // Compared as text, as the count-down label holds it: "10" > "0", "-1" < "0".
    while (lblCount_->text() > QStringLiteral("0"))
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    Timer1_->stop();
    return true;
}

bool frmQuarrylantern::eventFilter(QObject* watched, QEvent* event) {
    if (watched == chkIncludeStats_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            chkIncludeStats_KeyPress(13);
            return true;
        }
        if (key == Qt::Key_Tab) {
            chkIncludeStats_KeyPress(9);
            // While "Output To..." is off the focus cannot go there; Tab then
            // moves on as everywhere else instead of being lost.
            return focusWidget() != chkIncludeStats_;
        }
    }
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        for (int g = 0; g < grids::kGridCount; ++g) {
            auto* grid = lvwGrid_[static_cast<std::size_t>(g)];
            if (watched != grid || (key != Qt::Key_Return && key != Qt::Key_Enter)) continue;
            // Enter on a row does what a double click on it does.
            if (auto* item = grid->currentItem()) lvwGrid_DblClick(g, grid->indexOfTopLevelItem(item));
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmQuarrylantern::cmdClose_Click() {
    if (!commandStarts("cmdClose_Click")) return;
    // An XML report gets its closing root line once more, the workbook is
    // let go; a failure there is shown and the window closes all the same.
    runTrapped([this] { report::closeOutput(*context_); });
    close();
}

void frmQuarrylantern::Form_Unload() {
    unloaded_ = true;
    if (state_.AccessAutomationStarts > 0 && state_.AccessApplication) {
        constexpr int kQuitWithoutSaving = 2;
        try {
            state_.AccessApplication->Quit(kQuitWithoutSaving);
        } catch (const std::exception&) {
            // The program ends either way.
        }
    }
    if (services_.endProgram)
        services_.endProgram();
    else
        QCoreApplication::quit();
}

void frmQuarrylantern::closeEvent(QCloseEvent* event) {
    if (!unloaded_) Form_Unload();
    event->accept();
}

}  // namespace ql::app
