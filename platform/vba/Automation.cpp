#include "platform/vba/Automation.h"

#include <algorithm>
#include <cctype>

namespace ql::vba {
namespace {

using namespace automation_errors;

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Why a module's source cannot be served, as the application would number it.
RuntimeError unreadableModule(const VbaProject& project, const std::string& name, const VbaError& error) {
    switch (error.kind()) {
    case VbaErrorKind::Missing:
        if (!project.find(name))
            return RuntimeError(ModuleNotFound, "The module '" + name + "' was not found in the database.");
        return RuntimeError(ModuleSourceDamaged, "The module '" + name + "' cannot be read: " + error.what());
    case VbaErrorKind::CompiledOnly:
        return RuntimeError(ModuleCompiledOnly,
                            "The module '" + name + "' has no source: the database holds compiled code only.");
    default:
        return RuntimeError(ModuleSourceDamaged, "The module '" + name + "' cannot be read: " + error.what());
    }
}

}  // namespace

const ModuleSource& AutomationModule::source() const {
    if (unreadable_) throw *unreadable_;
    return *source_;
}

std::int32_t AutomationModule::CountOfLines() const { return source().countOfLines(); }

std::string AutomationModule::Lines(std::int32_t start, std::int32_t count) const {
    const ModuleSource& text = source();
    if (start < 1 || count < 1) throw RuntimeError(InvalidCall, "Invalid procedure call or argument");
    return text.lines(start, count);
}

void AutomationDoCmd::SetWarnings(bool) const { app_.requireRunning(); }
void AutomationDoCmd::OpenModule(const std::string&) const { app_.requireRunning(); }
void AutomationDoCmd::Close(int, const std::string&, int) const { app_.requireRunning(); }

AutomationApplication::AutomationApplication(ProjectOpener opener) : opener_(std::move(opener)) {}

void AutomationApplication::requireRunning() const {
    if (quit_) throw RuntimeError(ObjectGone, "The remote server machine does not exist or is unavailable");
}

const AutomationDoCmd& AutomationApplication::DoCmd() const {
    requireRunning();
    return doCmd_;
}

void AutomationApplication::Echo(bool) const { requireRunning(); }

void AutomationApplication::OpenCurrentDatabase(const std::filesystem::path& path) {
    requireRunning();
    if (path_) throw RuntimeError(DatabaseAlreadyOpen, "You already have the database open.");
    try {
        project_ = std::make_shared<const VbaProject>(opener_(path));
    } catch (const std::exception& error) {
        throw RuntimeError(CannotOpenDatabase, "The database '" + path.string() + "' cannot be opened: " + error.what());
    }
    path_ = path;
}

void AutomationApplication::CloseCurrentDatabase() {
    requireRunning();
    path_.reset();
    project_.reset();
}

std::shared_ptr<const AutomationModule> AutomationApplication::Modules(const std::string& name) const {
    requireRunning();
    if (!project_) throw RuntimeError(ModuleNotFound, "The module '" + name + "' was not found: no database is open.");
    try {
        const ModuleSource& source = project_->source(name);
        return std::make_shared<const AutomationModule>(name, project_, source);
    } catch (const VbaError& error) {
        return std::make_shared<const AutomationModule>(name, unreadableModule(*project_, name, error));
    }
}

void AutomationApplication::Quit(int) {
    requireRunning();
    path_.reset();
    project_.reset();
    quit_ = true;
}

std::optional<std::filesystem::path> AutomationApplication::currentDatabasePath() const { return path_; }

std::unique_ptr<AutomationApplication> CreateObject(const std::string& progId, ProjectOpener opener) {
    const std::string id = lower(progId);
    static constexpr std::string_view kClass = "access.application";
    const bool versioned = id.size() > kClass.size() + 1 && id.compare(0, kClass.size(), kClass) == 0 &&
                           id[kClass.size()] == '.' &&
                           std::all_of(id.begin() + static_cast<std::ptrdiff_t>(kClass.size()) + 1, id.end(),
                                       [](unsigned char c) { return std::isdigit(c); });
    if (id != kClass && !versioned) throw RuntimeError(CannotCreateObject, "ActiveX component can't create object");
    return std::make_unique<AutomationApplication>(std::move(opener));
}

}  // namespace ql::vba
