#include "platform/vba/VbaProject.h"

#include "platform/vba/AccessObjectsImage.h"
#include "platform/vba/AccessStorageTree.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/Decompressor.h"
#include "platform/vba/Modules2.h"
#include "platform/text/CodePage.h"
#include "platform/text/Unicode.h"

namespace ql::vba {
namespace {

const StoragePath kVbaStorage{"VBA", "VBAProject", "VBA"};
const StoragePath kProjectStream{"VBA", "VBAProject", "PROJECT"};
constexpr std::string_view kDirStream = "dir";
constexpr std::string_view kModuleRecord = "_VBA_MODULE";
constexpr std::int32_t kModules2StandardModule = 0x8007;

StoragePath inVbaStorage(std::string_view name) {
    StoragePath path = kVbaStorage;
    path.emplace_back(name);
    return path;
}

bool asciiCaseEqual(std::string_view a, std::string_view b) { return sameEntryName(a, b); }

// The project's own code page when iconv can decode it, else the file's,
// else windows-1252.
int chooseCodePage(int projectCodePage, int databaseCodePage) {
    if (text::codePageSupported(projectCodePage)) return projectCodePage;
    if (text::codePageSupported(databaseCodePage)) return databaseCodePage;
    return text::kFallbackCodePage;
}

void recordModuleError(ProjectModule& module, const VbaError& error) {
    module.source.reset();
    module.errorKind = error.kind();
    module.error = "module " + module.name + ": " + error.what();
}

bool hasVbaStorage(const Storage& storage) {
    try {
        storage.children(kVbaStorage);
        return true;
    } catch (const VbaError&) {
        return false;
    }
}

}  // namespace

const ProjectModule* VbaProject::find(std::string_view name) const {
    for (const auto& module : modules_)
        if (module.name == name) return &module;
    for (const auto& module : modules_)
        if (asciiCaseEqual(module.name, name)) return &module;
    return nullptr;
}

const ModuleSource& VbaProject::source(std::string_view name) const {
    const ProjectModule* module = find(name);
    if (!module) {
        if (!projectError_.empty()) throw VbaError(projectErrorKind_, projectError_);
        throw VbaError(VbaErrorKind::Missing, "module " + std::string(name) + " is not in the VBA project");
    }
    if (!module->source) throw VbaError(module->errorKind, module->error);
    return *module->source;
}

std::vector<std::string> projectStreamModuleNames(std::string_view text, int codePage) {
    static constexpr std::string_view kKeys[] = {"Module=", "Class=", "Document=", "BaseClass="};
    std::vector<std::string> names;
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = text.find_first_of("\r\n", begin);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(begin, end - begin);
        begin = end + 1;
        if (line.empty()) continue;
        if (line.front() == '[') break;  // host sections follow the project's own lines
        for (std::string_view key : kKeys) {
            if (line.substr(0, key.size()) != key) continue;
            std::string_view value = line.substr(key.size());
            // Document modules carry a version cookie after a slash.
            if (key == "Document=") value = value.substr(0, value.find('/'));
            names.push_back(text::decodeCodePage(value, codePage));
        }
    }
    return names;
}

VbaProject projectFromStorage(const Storage& storage, ProjectLayout layout, int databaseCodePage) {
    VbaProject project;
    project.layout_ = layout;
    project.codePage_ = chooseCodePage(0, databaseCodePage);
    if (!hasVbaStorage(storage)) {
        project.projectErrorKind_ = VbaErrorKind::Missing;
        project.projectError_ = "the database holds no VBA project storage";
        return project;
    }

    if (!storage.hasStream(inVbaStorage(kDirStream))) {
        // Compiled-only databases drop the module table and the source text
        // but keep the names in the PROJECT stream.
        project.compiledOnly_ = true;
        project.projectErrorKind_ = VbaErrorKind::CompiledOnly;
        project.projectError_ = "the VBA project is compiled only (no source is stored)";
        try {
            for (auto& name : projectStreamModuleNames(storage.readStream(kProjectStream), project.codePage_)) {
                ProjectModule module;
                module.name = std::move(name);
                module.errorKind = VbaErrorKind::CompiledOnly;
                module.error = "module " + module.name + ": compiled only, no source is stored";
                project.modules_.push_back(std::move(module));
            }
        } catch (const VbaError&) {
            // Without the PROJECT stream the names come from the catalogue alone.
        }
        return project;
    }

    DirInfo dir;
    try {
        dir = parseDirStream(decompressContainer(storage.readStream(inVbaStorage(kDirStream))));
    } catch (const VbaError& error) {
        project.projectErrorKind_ = error.kind();
        project.projectError_ = std::string("the VBA project's module table is damaged: ") + error.what();
        return project;
    }
    project.codePage_ = chooseCodePage(dir.codePage, databaseCodePage);

    for (const auto& entry : dir.modules) {
        ProjectModule module;
        module.name = entry.name;
        module.kind = entry.kind;
        try {
            const std::string stream = storage.readStream(inVbaStorage(entry.streamName));
            std::size_t offset = entry.textOffset;
            if (!entry.hasTextOffset) {
                auto found = findSourceContainer(stream);
                if (!found) throw VbaError(VbaErrorKind::Missing, "no source text in stream " + entry.streamName);
                offset = *found;
            }
            if (offset >= stream.size())
                throw VbaError(VbaErrorKind::Corrupt, "source offset " + std::to_string(offset) +
                                                          " lies past the end of stream " + entry.streamName);
            module.source.emplace(decompressContainer(stream, offset), project.codePage_);
        } catch (const VbaError& error) {
            recordModuleError(module, error);
        }
        project.modules_.push_back(std::move(module));
    }
    return project;
}

VbaProject projectFromModules2(const std::vector<Modules2Row>& rows, int databaseCodePage) {
    VbaProject project;
    project.layout_ = ProjectLayout::Modules2;
    project.codePage_ = chooseCodePage(modules2CodePage(rows), databaseCodePage);
    for (const Modules2Row* row : modules2ModuleRows(rows)) {
        ProjectModule module;
        module.name = row->name;
        // Standalone class modules share the standard modules' row type;
        // only their hidden header tells them apart.
        module.kind = row->type == kModules2StandardModule ? ModuleKind::Procedural : ModuleKind::Document;
        try {
            const std::string* stream = nullptr;
            const auto records = parseModules2Blob(*row->module);
            for (const auto& record : records)
                if (record.name == kModuleRecord) stream = &record.data;
            if (!stream) throw VbaError(VbaErrorKind::Missing, "module blob has no _VBA_MODULE record");
            const auto offset = findSourceContainer(*stream);
            if (!offset)
                throw VbaError(VbaErrorKind::CompiledOnly, "no source text is stored (compiled only)");
            const std::string text = decompressContainer(*stream, *offset);
            if (text.find("\r\nAttribute VB_Base = ") != std::string::npos) module.kind = ModuleKind::Document;
            module.source.emplace(text, project.codePage_);
        } catch (const VbaError& error) {
            recordModuleError(module, error);
        }
        project.modules_.push_back(std::move(module));
    }
    return project;
}

VbaProject failedProject(ProjectLayout layout, int databaseCodePage, VbaErrorKind kind, std::string message) {
    VbaProject project;
    project.layout_ = layout;
    project.codePage_ = chooseCodePage(0, databaseCodePage);
    project.projectErrorKind_ = kind;
    project.projectError_ = std::move(message);
    return project;
}

VbaProject loadVbaProject(SystemTableSource& tables) {
    const int databaseCodePage = tables.databaseCodePage();
    // A system table the database layer cannot read fails the project, not
    // the opening of the database: each module then reports it.
    const char* table = "MSysModules2";
    try {
        // Access 97 files opened by a later Access may also carry a converted
        // copy in MSysAccessObjects; the original rows come first.
        if (tables.jetVersion() == 3) {
            if (auto rows = tables.modules2Rows(); rows && !modules2ModuleRows(*rows).empty())
                return projectFromModules2(*rows, databaseCodePage);
        } else if (table = "MSysAccessStorage"; auto rows = tables.accessStorageRows()) {
            try {
                AccessStorageTree tree(std::move(*rows));
                if (hasVbaStorage(tree))
                    return projectFromStorage(tree, ProjectLayout::AccessStorage, databaseCodePage);
            } catch (const VbaError& error) {
                return failedProject(ProjectLayout::AccessStorage, databaseCodePage, error.kind(),
                                     std::string("MSysAccessStorage is damaged: ") + error.what());
            }
        }
        table = "MSysAccessObjects";
        if (auto rows = tables.accessObjectsRows(); rows && !rows->empty()) {
            try {
                auto image = assembleAccessObjects(*rows);
                auto file = CompoundFile::open(std::move(image.image));
                return projectFromStorage(*file, ProjectLayout::AccessObjects, databaseCodePage);
            } catch (const VbaError& error) {
                return failedProject(ProjectLayout::AccessObjects, databaseCodePage, error.kind(),
                                     std::string("MSysAccessObjects is damaged: ") + error.what());
            }
        }
    } catch (const std::exception& error) {
        return failedProject(ProjectLayout::None, databaseCodePage, VbaErrorKind::Corrupt,
                             std::string(table) + " cannot be read: " + error.what());
    }
    return failedProject(ProjectLayout::None, databaseCodePage, VbaErrorKind::Missing,
                         "the database holds no VBA project");
}

}  // namespace ql::vba
