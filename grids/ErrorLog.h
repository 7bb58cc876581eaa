#pragma once
// The analysis error log: each error is one line appended to the file at
// ErrorLogPath, opened for appending and closed again around that line, so
// the log is complete on disk whatever happens next.
#include <string>

#include "grids/WindowContext.h"

namespace ql::grids {

// Appends `line` and CR LF to the error log. Raises the runtime's file error
// when the log cannot be opened (no output file chosen, folder gone).
void appendErrorLog(const WindowState& state, const std::string& line);

// "<prefix><name cut or padded to 40> : <number as 000000> : <description>",
// the make-up of the fillers' lines ("Field Error :", "Query Error :" ...).
std::string errorLogLine(const std::string& prefix, const std::string& name, const RuntimeError& error);

// The line the analysis run's own handler writes: the name cut or padded to
// 40, then the time of the error, the number and the description.
std::string runErrorLogLine(const std::string& name, const RuntimeError& error);

// One more analysis error; past 32767 the 16-bit counter overflows with the
// runtime's error 6.
void countError(WindowState& state);

// The name the handlers log: that of the saved query at `position` of the
// database's QueryDefs, whatever failed. Raises 3265 when there is no such
// query (the handler's own error, which leaves the handler).
std::string queryNameAt(const WindowState& state, int position);

// Any exception as the runtime error a trap would see: RuntimeError as it
// is, anything else as an application-defined error with its text.
RuntimeError asRuntimeError(const std::exception& e);

}  // namespace ql::grids
