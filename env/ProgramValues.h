#pragma once
// The program-wide values computed once at start-up, and the editor
// commands that the editor choice replaces later.
#include <cstdint>
#include <string>

#include "env/Probes.h"
#include "platform/registry/Registry.h"

namespace ql::env {

// The editor the editor dialog is about.
enum class EditorKind : std::int16_t { Text = 0, Xml = 1 };

// Both editors start as this command; on Linux the launcher opens the
// document with the desktop's default application when no such program is
// installed.
inline constexpr const char* kDefaultEditor = "Notepad.exe";

struct ProgramValues {
    std::int16_t WindowsVersion = 0;
    std::string WindowsVersionName;
    std::string WindowsFolder;
    std::string AccessApplicationClass;
    std::int16_t AccessVersion = 0;
    std::string LoginUserName;
    std::string AccessUserFolder;
    std::string TextEditorPath = kDefaultEditor;
    std::string XmlEditorPath = kDefaultEditor;
    EditorKind editorKind = EditorKind::Text;
    // Installed spreadsheet version; read again when the Excel format is
    // chosen and by the Office folder probe.
    std::int16_t ExcelVersion = 0;
};

// The start-up computation, in its fixed order: version code and name, the
// system folder, the front end's class and version, the user, the user's
// front-end folder.
ProgramValues ComputeProgramValues(const SystemProbe& probe, const registry::Registry& registry);

}  // namespace ql::env
