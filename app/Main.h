#pragma once
// The program entry: computes the program-wide values, shows the main
// window and runs until it closes.
#include <optional>
#include <string>

namespace ql::app {

// Why no window can be opened in this session, or nothing when a display
// is there. `platform`, `display` and `waylandDisplay` are the values of
// QT_QPA_PLATFORM, DISPLAY and WAYLAND_DISPLAY (empty when unset); they are
// looked at only so that the program can say so instead of aborting.
std::optional<std::string> noDisplayMessage(const std::string& platform, const std::string& display,
                                            const std::string& waylandDisplay,
                                            const std::string& programPath);

int Main(int argc, char** argv);

}  // namespace ql::app
