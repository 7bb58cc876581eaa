#pragma once
// How a routine treats a statement that fails, in the three forms of VB's
// error handling the program was written with:
//  - unhandled: no "On Error" in force, or "On Error GoTo 0": the error
//    leaves the routine as it is.
//  - resume next: "On Error Resume Next": the failing statement is
//    abandoned and the routine goes on with the next one, without a word.
//  - handled by: "On Error GoTo <label>" whose handler logs the error and
//    ends in "Resume Next": the failing statement is abandoned, the handler
//    gets its error, and the routine goes on with the next statement. The
//    handler runs outside the trap, so an error of its own leaves the
//    routine.
// A routine switches forms where its "On Error" statements stood. An
// UnhandledError is already on its way out of the command and is never
// trapped again.
#include <exception>
#include <functional>
#include <optional>
#include <utility>

#include "grids/ErrorLog.h"
#include "grids/UnhandledError.h"

namespace ql::grids {

class ErrorRegime {
public:
    using Handler = std::function<void(const RuntimeError&)>;

    // Starts unhandled.
    ErrorRegime() = default;
    static ErrorRegime resumingNext() {
        ErrorRegime regime;
        regime.resumeNext();
        return regime;
    }
    static ErrorRegime handledBy(Handler handler) {
        ErrorRegime regime;
        regime.handleBy(std::move(handler));
        return regime;
    }

    void unhandled() {
        mode_ = Mode::Unhandled;
        handler_ = nullptr;
    }
    void resumeNext() {
        mode_ = Mode::ResumeNext;
        handler_ = nullptr;
    }
    void handleBy(Handler handler) {
        mode_ = Mode::Handled;
        handler_ = std::move(handler);
    }

    // Runs one statement under the form in force.
    template <class Statement>
    void operator()(Statement&& statement) const {
        std::optional<RuntimeError> error;
        try {
            statement();
        } catch (const UnhandledError&) {
            throw;
        } catch (const std::exception& e) {
            if (mode_ == Mode::Unhandled) throw;
            error = asRuntimeError(e);
        }
        if (error && mode_ == Mode::Handled) handler_(*error);
    }

private:
    enum class Mode { Unhandled, ResumeNext, Handled };

    Mode mode_ = Mode::Unhandled;
    Handler handler_;
};

}  // namespace ql::grids
