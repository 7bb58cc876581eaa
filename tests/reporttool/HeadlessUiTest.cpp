// The screen of the headless tool and its stage clock.
#include <gtest/gtest.h>

#include <thread>

#include "app/reporttool/HeadlessUi.h"
#include "app/reporttool/StageTimer.h"

namespace ql::reporttool {
namespace {

using ui::Answer;
using ui::Buttons;
using ui::DefaultButton;

TEST(HeadlessUi, MessagesTakeTheDefaultButtonAndDialogsAreRefused) {
    HeadlessUi ui;
    EXPECT_EQ(ui.message("a", "t"), Answer::OK);
    EXPECT_EQ(ui.message("b", "t", Buttons::YesNo, ui::Icon::Question, DefaultButton::Second), Answer::No);
    EXPECT_EQ(ui.message("c", "t", Buttons::AbortRetryIgnore, ui::Icon::None, DefaultButton::Third), Answer::Ignore);
    // A default past the last button is the first button.
    EXPECT_EQ(ui.message("d", "t", Buttons::RetryCancel, ui::Icon::None, DefaultButton::Third), Answer::Retry);
    ASSERT_EQ(ui.messages.size(), 4u);
    EXPECT_EQ(ui.messages[1].text, "b");

    EXPECT_THROW(ui.showOpen({"Select database", "", "", "", "", false}), DialogRequested);
    EXPECT_THROW(ui.showSave({"Output", "", "", "", "", false}), DialogRequested);

    ui.startProcess("Notepad.exe \"/tmp/Errors.Log\"", ui::WindowStyle::MaximizedFocus);
    ASSERT_EQ(ui.started.size(), 1u);
    EXPECT_EQ(ui.started[0].commandLine, "Notepad.exe \"/tmp/Errors.Log\"");
}

TEST(StageTimer, StatusTextsMakeStagesButSelectingAndBlankDoNot) {
    StageTimer timer;
    HeadlessUi ui;
    ui.onStatus = [&](const std::string& text) { timer.status(text); };
    timer.begin("open");
    ui.setStatusText("Checking Tables....");
    ui.setStatusText("Selecting....");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ui.setStatusText("");
    ui.setStatusText("Checking Queries....");
    ui.setStatusText("Checking Tables....");
    timer.end();
    timer.add("write report", 2.5);

    ASSERT_EQ(timer.stages().size(), 4u);
    EXPECT_EQ(timer.stages()[0].name, "open");
    EXPECT_EQ(timer.stages()[1].name, "Checking Tables....");
    EXPECT_EQ(timer.stages()[2].name, "Checking Queries....");
    EXPECT_EQ(timer.stages()[3].name, "write report");
    // The sleep happened inside the tables stage, "Selecting...." or not.
    EXPECT_GE(timer.stages()[1].milliseconds, 5.0);
    EXPECT_DOUBLE_EQ(timer.stages()[3].milliseconds, 2.5);

    const std::string table = timer.table();
    EXPECT_EQ(table.rfind("stage", 0), 0u);
    EXPECT_NE(table.find("\ntotal "), std::string::npos);
}

}  // namespace
}  // namespace ql::reporttool
