// The editor dialog, the About box, the Qt message box and file filters,
// and the program entry without a display.
#include <QAbstractButton>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>

#include <filesystem>

#include "Version.h"
#include "app/Main.h"
#include "app/QtUi.h"
#include "app/frmAbout.h"
#include "app/frmEditor.h"
#include "tests/app/WindowFixture.h"

namespace ql::test {
namespace {

// The XML editor's OK stores the text even when empty; the text editor's
// Cancel after a Browse keeps everything.
TEST_F(WindowTest, EditorDialogOkStoresAndCancelKeeps) {
    auto& w = load();
    onModal([](QWidget* modal) {
        auto* dialog = qobject_cast<app::frmEditor*>(modal);
        ASSERT_NE(dialog, nullptr);
        dialog->txtEditor()->clear();
        dialog->cmdOK()->click();
    });
    w.action("mnuXMLEditor")->trigger();
    EXPECT_EQ(values.editorKind, env::EditorKind::Xml);
    EXPECT_EQ(values.XmlEditorPath, "");
    EXPECT_EQ(settings.ReadSetting("Paths", "XMLEditor", "?"), "");

    settings.WriteSetting("Paths", "Editor", "/usr/bin/vi");
    const auto before = TempFolder::read(settings.path());
    ui.chooseFile("/usr/bin/gedit");
    std::string shown, browsed;
    onModal([&](QWidget* modal) {
        auto* dialog = qobject_cast<app::frmEditor*>(modal);
        ASSERT_NE(dialog, nullptr);
        shown = text(dialog->txtEditor()->text());
        dialog->cmdBrowse()->click();
        browsed = text(dialog->txtEditor()->text());
        dialog->cmdCancel()->click();
    });
    w.mnuEditor_Click();  // the menu item itself starts switched off
    EXPECT_EQ(values.editorKind, env::EditorKind::Text);
    EXPECT_EQ(shown, "/usr/bin/vi");
    EXPECT_EQ(browsed, "/usr/bin/gedit");
    EXPECT_EQ(TempFolder::read(settings.path()), before);
    EXPECT_EQ(values.TextEditorPath, "Notepad.exe");
}

TEST_F(WindowTest, AboutBoxShowsTheVersionAndItsButtonsWork) {
    auto& w = load();
    ui.messages.clear();
    std::string version;
    onModal([&](QWidget* modal) {
        auto* about = qobject_cast<app::frmAbout*>(modal);
        ASSERT_NE(about, nullptr);
        version = text(about->lblVersion()->text());
        about->cmdSysInfo()->click();
        about->lblHomepage_Click();
        about->cmdOK()->click();
    });
    w.action("mnuHelpAbout")->trigger();
    EXPECT_EQ(version, "Version " + std::to_string(QL_VERSION_MAJOR) + "." + std::to_string(QL_VERSION_MINOR) +
                           "." + std::to_string(QL_VERSION_PATCH));
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "System Information Is Unavailable At This Time");
    EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
    EXPECT_EQ(ui.messages[0].icon, ui::Icon::None);
    ASSERT_EQ(ui.started.size(), 1u);
    EXPECT_EQ(ui.started[0].commandLine, "xdg-open http://www.orvex.example/quarrylantern/");
}

TEST(QtUi, MessageBoxCarriesTitleTextIconButtonsAndDefault) {
    application();
    app::QtUi qtUi;
    std::string title, body;
    QMessageBox::Icon icon{};
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton{};
    bool waiting = false;
    onModal([&](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        ASSERT_NE(box, nullptr);
        title = text(box->windowTitle());
        body = text(box->text());
        icon = box->icon();
        buttons = box->standardButtons();
        defaultButton = box->standardButton(box->defaultButton());
        // Escape is no answer to a Yes/No question: it keeps waiting.
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(box->focusWidget() ? box->focusWidget() : box, &escape);
        QCoreApplication::processEvents();
        waiting = box->isVisible();
        box->button(QMessageBox::No)->click();
    });
    const auto answer = qtUi.message("Show in Browser [Yes]\r\nor in XML Editor [No] ?", "PICK OUTPUT VIEWER",
                                     ui::Buttons::YesNo, ui::Icon::Question, ui::DefaultButton::Second);
    EXPECT_EQ(answer, ui::Answer::No);
    EXPECT_EQ(title, "PICK OUTPUT VIEWER");
    EXPECT_EQ(body, "Show in Browser [Yes]\nor in XML Editor [No] ?");
    EXPECT_EQ(icon, QMessageBox::Question);
    EXPECT_EQ(buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(defaultButton, QMessageBox::No);
    EXPECT_TRUE(waiting);
}

// The real file dialogs: where they start, and what they take.
TEST(QtUi, FileDialogsTakeATypedMissingNameAndNeverStartInAPseudoFileSystem) {
    application();
    app::QtUi qtUi;
    TempFolder folder;
    const std::string missing = (folder / "missing.mdb").string();
    for (const char* preset : {"/proc/self/Test.MDB", "/sys/kernel/Test.MDB", "/dev/Test.MDB"}) {
        QString startedIn;
        onModal([&](QWidget* modal) {
            auto* dialog = qobject_cast<QFileDialog*>(modal);
            ASSERT_NE(dialog, nullptr);
            startedIn = dialog->directory().absolutePath();
            // Typed into the name box, as a user does, once the dialog has
            // settled (until its folder is listed it may put its preset back).
            QElapsedTimer settling;
            settling.start();
            while (settling.elapsed() < 100) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            ASSERT_NE(name, nullptr);
            name->setText(QString::fromStdString(missing));
            QMetaObject::invokeMethod(dialog, "accept");  // as the Open button does
        });
        ui::FileDialog request;
        request.fileName = preset;
        request.filter = "Access Databases (*.MDB)|*.MDB|All FIles (*.*)|*.*";
        const auto chosen = qtUi.showOpen(request);
        EXPECT_EQ(startedIn, QDir::homePath()) << preset;
        EXPECT_TRUE(chosen.accepted) << preset;
        EXPECT_EQ(chosen.fileName, missing) << preset;
    }
}

TEST_F(WindowTest, EditorBrowseOffersLinuxProgramsAndTakesTheirNamesAsTheyAre) {
    application();
    app::QtUi qtUi;
    const auto editor = data.write("myeditor", "#!/bin/sh\n");
    std::filesystem::permissions(editor, std::filesystem::perms::owner_all);
    app::frmEditor dialog(values, settings, qtUi);
    QString firstFilter;
    QDir::Filters listed;
    onModal([&](QWidget* modal) {
        auto* files = qobject_cast<QFileDialog*>(modal);
        ASSERT_NE(files, nullptr);
        firstFilter = files->nameFilters().value(0);
        listed = files->filter();
        files->setDirectory(QString::fromStdString(data.path().string()));
        files->selectFile(QStringLiteral("myeditor"));
        static_cast<QDialog*>(files)->accept();
    });
    dialog.cmdBrowse_Click();
    EXPECT_EQ(text(dialog.txtEditor()->text()), editor.string());
    EXPECT_TRUE(firstFilter.endsWith(QLatin1String("(*)"))) << text(firstFilter);
    EXPECT_TRUE(listed & QDir::Executable);
}

TEST_F(WindowTest, QtUiWritesTheWindowsStatusBarAndProgressBar) {
    auto& w = window();
    app::QtUi qtUi;
    qtUi.attach(&w, w.ssbPanel(), w.pgb());
    w.show();
    qtUi.setStatusText("Checking Tables....");
    EXPECT_EQ(text(w.ssbPanel()->text()), "Checking Tables....");
    EXPECT_FALSE(w.pgb()->isVisible());
    qtUi.setProgress(3, 10);
    EXPECT_TRUE(w.pgb()->isVisible());
    EXPECT_EQ(w.pgb()->value(), 3);
    EXPECT_EQ(w.pgb()->maximum(), 10);
    qtUi.setProgress(0, 0);
    EXPECT_FALSE(w.pgb()->isVisible());
    qtUi.setMousePointer(ui::MousePointer::Hourglass);
    qtUi.setMousePointer(ui::MousePointer::Hourglass);
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    qtUi.setMousePointer(ui::MousePointer::Default);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);  // one restore undoes the one set
}

TEST(QtUi, FileFiltersMatchWithoutCaseAndAllFilesMeansEveryFile) {
    const auto filters =
        app::QtUi::nameFilters("Access Databases (*.MDB)|*.MDB|All FIles (*.*)|*.*");
    ASSERT_EQ(filters.size(), 2);
    EXPECT_EQ(text(filters[0]), "Access Databases (*.MDB) (*.[mM][dD][bB])");
    EXPECT_EQ(text(filters[1]), "All FIles (*.*) (*)");
    const auto pattern = QRegularExpression::fromWildcard(QStringLiteral("*.[mM][dD][bB]"));
    EXPECT_TRUE(pattern.match(QStringLiteral("north.mdb")).hasMatch());
    EXPECT_TRUE(pattern.match(QStringLiteral("NORTH.MDB")).hasMatch());
    EXPECT_FALSE(pattern.match(QStringLiteral("north.mdw")).hasMatch());
    EXPECT_TRUE(app::QtUi::nameFilters("").isEmpty());
}

TEST(Main, SaysSoWhenThereIsNoDisplay) {
    const auto message = app::noDisplayMessage("", "", "", "/opt/ql/quarrylantern");
    ASSERT_TRUE(message);
    EXPECT_NE(message->find("no display"), std::string::npos);
    EXPECT_NE(message->find("xvfb-run /opt/ql/quarrylantern"), std::string::npos);
    EXPECT_NE(message->find("/opt/ql/quarrylantern-report"), std::string::npos);

    EXPECT_FALSE(app::noDisplayMessage("", ":0", "", "q"));
    EXPECT_FALSE(app::noDisplayMessage("", "", "wayland-0", "q"));
    EXPECT_FALSE(app::noDisplayMessage("offscreen", "", "", "q"));
    EXPECT_TRUE(app::noDisplayMessage("xcb", "", "wayland-0", "q"));
    EXPECT_TRUE(app::noDisplayMessage("wayland", ":0", "", "q"));
    EXPECT_FALSE(app::noDisplayMessage("xcb:foo", ":1", "", "q"));
}

}  // namespace
}  // namespace ql::test
