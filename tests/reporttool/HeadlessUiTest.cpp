// The screen of the headless tool.
#include <gtest/gtest.h>

#include "app/reporttool/HeadlessUi.h"

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

}  // namespace
}  // namespace ql::reporttool
