#pragma once
// The VBA project stored in an Access database, module by module: where it
// lives depends on the Access version that wrote the file (MSysModules2,
// MSysAccessObjects or MSysAccessStorage), the result does not.
#include "platform/vba/DirStream.h"
#include "platform/vba/ModuleSource.h"
#include "platform/vba/Storage.h"
#include "platform/vba/SystemTableRows.h"
#include "platform/vba/VbaError.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ql::vba {

enum class ProjectLayout {
    None,           // the file holds no VBA project (or none could be found)
    Modules2,       // Access 97
    AccessObjects,  // Access 2000: compound-file image in slices
    AccessStorage,  // Access 2002/2003: storage tree in rows
};

struct ProjectModule {
    std::string name;  // UTF-8, as the project spells it
    ModuleKind kind = ModuleKind::Procedural;
    std::optional<ModuleSource> source;  // set when the text was read
    VbaErrorKind errorKind = VbaErrorKind::Missing;
    std::string error;  // why the text could not be read, when it could not
};

class VbaProject {
public:
    ProjectLayout layout() const { return layout_; }
    int codePage() const { return codePage_; }  // the code page the text was decoded with
    bool compiledOnly() const { return compiledOnly_; }

    // Why the project as a whole could not be read (empty when it was).
    const std::string& projectError() const { return projectError_; }
    // Missing when the file simply holds no project.
    VbaErrorKind projectErrorKind() const { return projectErrorKind_; }

    const std::vector<ProjectModule>& modules() const { return modules_; }

    // By name: the exact spelling first, then without regard to the case of
    // ASCII letters. Null when the project has no such module.
    const ProjectModule* find(std::string_view name) const;

    // The module's text. Throws VbaError: Missing when there is no such
    // module (or no project), CompiledOnly for compiled-only projects, and
    // the module's own error when its text was damaged.
    const ModuleSource& source(std::string_view name) const;

private:
    friend VbaProject projectFromStorage(const Storage&, ProjectLayout, int);
    friend VbaProject projectFromModules2(const std::vector<Modules2Row>&, int);
    friend VbaProject loadVbaProject(SystemTableSource&);
    friend VbaProject failedProject(ProjectLayout, int, VbaErrorKind, std::string);

    ProjectLayout layout_ = ProjectLayout::None;
    int codePage_ = 0;
    bool compiledOnly_ = false;
    std::string projectError_;
    VbaErrorKind projectErrorKind_ = VbaErrorKind::Missing;
    std::vector<ProjectModule> modules_;
};

// Reads the project from the storage of an Access 2000-2003 file (the
// rebuilt compound file or the MSysAccessStorage tree). Never throws for
// damage: a damaged project or module is recorded in the result.
VbaProject projectFromStorage(const Storage& storage, ProjectLayout layout, int databaseCodePage);

// Reads the project from the MSysModules2 rows of an Access 97 file.
VbaProject projectFromModules2(const std::vector<Modules2Row>& rows, int databaseCodePage);

// Finds the project in whichever system table holds it. Never throws for
// damage: a table the source cannot read (std::exception from it) or a
// damaged project is recorded in the result, and every module reports it.
VbaProject loadVbaProject(SystemTableSource& tables);

// The module names listed in a project's PROJECT stream (Module=, Class=,
// Document= and BaseClass= lines), decoded with codePage. Compiled-only
// projects keep this list although they have no module table.
std::vector<std::string> projectStreamModuleNames(std::string_view projectStream, int codePage);

}  // namespace ql::vba
