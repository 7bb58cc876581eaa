#pragma once
// The part of the database application's automation object model that the
// modules grid uses, served from the VBA project stored in the file: there is
// no application to start on Linux. Calls that only move windows are
// accepted and do nothing; everything else raises ql::RuntimeError with a
// number and description, as a late-bound call would.
#include "platform/RuntimeError.h"
#include "platform/vba/VbaProject.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ql::vba {

// Error numbers raised here. 5, 429 and 462 are the runtime's own; the
// others are the application's numbers for the same situations, except
// the two unreadable-source cases, which the application has no numbers for.
namespace automation_errors {
inline constexpr int InvalidCall = 5;                // Lines with a start or count below 1
inline constexpr int CannotCreateObject = 429;       // CreateObject with another class name
inline constexpr int ObjectGone = 462;               // any call after Quit
inline constexpr int ModuleNotFound = 2516;          // no module of that name (or no database open)
inline constexpr int CannotOpenDatabase = 7866;      // OpenCurrentDatabase failed
inline constexpr int DatabaseAlreadyOpen = 7867;     // OpenCurrentDatabase twice
inline constexpr int ModuleCompiledOnly = 29045;     // an .mde: names only, no source
inline constexpr int ModuleSourceDamaged = 29072;    // the stored source cannot be read
}  // namespace automation_errors

// A code module: its visible lines, numbered from 1. A module whose source
// cannot be read is still handed out, as the database lists it; reading its
// lines raises the reason (2516, 29045 or 29072), so the caller meets the
// failure once, where it reads.
class AutomationModule {
public:
    AutomationModule(std::string name, std::shared_ptr<const VbaProject> project, const ModuleSource& source)
        : name_(std::move(name)), project_(std::move(project)), source_(&source) {}
    AutomationModule(std::string name, RuntimeError unreadable)
        : name_(std::move(name)), source_(nullptr), unreadable_(std::move(unreadable)) {}
    const std::string& Name() const { return name_; }
    std::int32_t CountOfLines() const;
    // Lines start..start+count-1 joined with CR LF; raises 5 below line 1.
    std::string Lines(std::int32_t start, std::int32_t count) const;

private:
    const ModuleSource& source() const;

    std::string name_;
    std::shared_ptr<const VbaProject> project_;  // keeps source_ alive past CloseCurrentDatabase
    const ModuleSource* source_;
    std::optional<RuntimeError> unreadable_;
};

// Reads the VBA project of the database at a path. Throws ql::RuntimeError
// or any std::exception when the file cannot be opened.
using ProjectOpener = std::function<VbaProject(const std::filesystem::path&)>;

class AutomationApplication;

class AutomationDoCmd {
public:
    void SetWarnings(bool) const;
    void OpenModule(const std::string& name) const;
    // objectType: 5 for a module; save: 2 = without saving. Accepted for any values.
    void Close(int objectType, const std::string& name, int save) const;

private:
    friend class AutomationApplication;
    explicit AutomationDoCmd(const AutomationApplication& app) : app_(app) {}
    const AutomationApplication& app_;
};

class AutomationApplication {
public:
    explicit AutomationApplication(ProjectOpener opener);
    AutomationApplication(const AutomationApplication&) = delete;
    AutomationApplication& operator=(const AutomationApplication&) = delete;

    const AutomationDoCmd& DoCmd() const;
    void Echo(bool) const;

    // Reads the file's project; raises 7866 when it cannot be opened, 7867
    // when a database is open already.
    void OpenCurrentDatabase(const std::filesystem::path& path);
    void CloseCurrentDatabase();

    // The module by name; raises 2516 when no database is open. A module
    // without readable source raises on reading its lines: 2516 when the
    // project has no such module, 29045 for a compiled-only database and
    // 29072 when its stored source is damaged; the description names the
    // module and the reason.
    std::shared_ptr<const AutomationModule> Modules(const std::string& name) const;

    // Ends the application; every later call raises 462. The option
    // (2: quit without saving) is accepted for any value.
    void Quit(int option = 0);

    // The database opened by OpenCurrentDatabase, for the layer that hands
    // out its DAO object; nullopt when none is open.
    std::optional<std::filesystem::path> currentDatabasePath() const;
    bool hasQuit() const { return quit_; }

private:
    friend class AutomationDoCmd;
    void requireRunning() const;

    ProjectOpener opener_;
    AutomationDoCmd doCmd_{*this};
    std::optional<std::filesystem::path> path_;
    std::shared_ptr<const VbaProject> project_;
    bool quit_ = false;
};

// CreateObject for the database application's class ("Access.Application",
// with or without a version suffix, any case); raises 429 for any other.
std::unique_ptr<AutomationApplication> CreateObject(const std::string& progId, ProjectOpener opener);

}  // namespace ql::vba
