#pragma once
// Where a file dialog may start. Listing a folder of a pseudo file system
// (/proc, /sys, /dev) can block for ever (reading /proc/kmsg as root), so a
// dialog never starts in one, nor in a folder that does not exist: it starts
// in the home folder instead.
#include <string>

namespace ql::app {

// True when `folder` exists and is on an ordinary file system.
bool isListableFolder(const std::string& folder);

struct DialogStart {
    std::string folder;    // empty: the dialog's own choice
    std::string fileName;  // the preset name, without its folder when that was refused
};

// The folder and preset name a dialog opens with, from the caller's initial
// folder and preset name (a full path names its own folder).
DialogStart dialogStart(const std::string& initialFolder, const std::string& fileName);

}  // namespace ql::app
