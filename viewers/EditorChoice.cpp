#include "viewers/EditorChoice.h"

namespace ql::viewers {

EditorChoice::EditorChoice(env::ProgramValues& program, const profile::SettingsFile& settings,
                           ui::Ui& ui)
    : program_(program), settings_(settings), ui_(ui) {}

EditorForm EditorChoice::Form_Initialize() {
    EditorForm form;
    std::string key, fallback;
    if (program_.editorKind == env::EditorKind::Xml) {
        form.caption = "Locate User XML Editor";
        form.lblWhich = "XML Editor...";
        key = "XMLEditor";
        fallback = program_.XmlEditorPath;
    } else {
        form.caption = "Locate User TEXT Editor";
        form.lblWhich = "TEXT Editor...";
        key = "Editor";
        fallback = program_.TextEditorPath;
    }
    // This dialog spells the file name in capitals; it reaches the same file.
    form.txtEditor = settings_.ReadSetting("Paths", key, fallback, "Quarrylantern.INI");
    return form;
}

std::string EditorChoice::cmdBrowse_Click(const std::string& current) {
    ui::FileDialog dialog;
    dialog.fileName = current;
    dialog.filter = kBrowseFilter;
    dialog.defaultExtension = kBrowseDefaultExtension;
    const auto result = ui_.showOpen(dialog);
    return result.accepted ? result.fileName : current;
}

void EditorChoice::cmdOK_Click(const std::string& text) {
    switch (program_.editorKind) {
    case env::EditorKind::Xml:
        settings_.WriteSetting("Paths", "XMLEditor", text);
        program_.XmlEditorPath = text;
        break;
    case env::EditorKind::Text:
        settings_.WriteSetting("Paths", "Editor", text);
        program_.TextEditorPath = text;
        break;
    }
}

}  // namespace ql::viewers
