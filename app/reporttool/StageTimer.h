#pragma once
// Wall times of the stages of one run, told apart by the status texts the
// run shows anyway ("Checking Tables...." ...), so the run needs no hooks.
#include <chrono>
#include <string>
#include <vector>

namespace ql::reporttool {

class StageTimer {
public:
    using Clock = std::chrono::steady_clock;

    struct Stage {
        std::string name;
        double milliseconds = 0;
    };

    // Ends the running stage (if any) and starts `name`. A name seen before
    // adds to that stage's time.
    void begin(const std::string& name);
    // A status text of the run: starts a stage, except for the texts that
    // only mark a step inside the current one.
    void status(const std::string& text);
    // Ends the running stage.
    void end();
    // Adds time to a stage, making it when it is new.
    void add(const std::string& name, double milliseconds);

    // In the order each stage first began.
    const std::vector<Stage>& stages() const { return stages_; }
    double totalMilliseconds() const;

    // "stage  ms" table, one line per stage and a total line.
    std::string table() const;

private:
    std::size_t stageIndex(const std::string& name);

    std::vector<Stage> stages_;
    std::size_t current_ = 0;
    bool running_ = false;
    Clock::time_point started_;
};

}  // namespace ql::reporttool
