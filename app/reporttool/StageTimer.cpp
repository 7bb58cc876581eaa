#include "app/reporttool/StageTimer.h"

#include <algorithm>
#include <cstdio>

namespace ql::reporttool {

std::size_t StageTimer::stageIndex(const std::string& name) {
    auto it = std::find_if(stages_.begin(), stages_.end(), [&](const Stage& s) { return s.name == name; });
    if (it != stages_.end()) return static_cast<std::size_t>(it - stages_.begin());
    stages_.push_back(Stage{name, 0});
    return stages_.size() - 1;
}

void StageTimer::begin(const std::string& name) {
    end();
    current_ = stageIndex(name);
    running_ = true;
    started_ = Clock::now();
}

void StageTimer::status(const std::string& text) {
    // The select buttons show "Selecting...." inside a phase, and the finish
    // blanks the bar before its message box: neither starts a stage.
    if (text.empty() || text == "Selecting....") return;
    begin(text);
}

void StageTimer::end() {
    if (!running_) return;
    const std::chrono::duration<double, std::milli> spent = Clock::now() - started_;
    stages_[current_].milliseconds += spent.count();
    running_ = false;
}

void StageTimer::add(const std::string& name, double milliseconds) {
    stages_[stageIndex(name)].milliseconds += milliseconds;
}

double StageTimer::totalMilliseconds() const {
    double total = 0;
    for (const auto& s : stages_) total += s.milliseconds;
    return total;
}

std::string StageTimer::table() const {
    std::size_t width = 5;
    for (const auto& s : stages_) width = std::max(width, s.name.size());
    auto line = [&](const std::string& name, const std::string& value) {
        return name + std::string(width - name.size() + 2, ' ') + value + "\n";
    };
    auto ms = [](double v) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%12.3f", v);
        return std::string(buffer);
    };
    std::string out = line("stage", "          ms");
    for (const auto& s : stages_) out += line(s.name, ms(s.milliseconds));
    out += line("total", ms(totalMilliseconds()));
    return out;
}

}  // namespace ql::reporttool
