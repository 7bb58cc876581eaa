#include "grids/ErrorLog.h"

#include <limits>

#include "platform/vb/VbText.h"
#include "platform/files/OutputFiles.h"

namespace ql::grids {

namespace {
constexpr int kNameWidth = 40;
constexpr int kErrOverflow = 6;
constexpr int kErrItemNotFound = 3265;
// What VB reports for an error raised without a number of its own.
constexpr int kErrApplicationDefined = 440;
}  // namespace

void appendErrorLog(const WindowState& state, const std::string& line) {
    if (state.ErrorLogPath.empty()) throw RuntimeError(runtime_errors::FileNotFound, "File not found");
    files::writeFile(state.ErrorLogPath, line + "\r\n", files::WriteMode::Append);
}

std::string errorLogLine(const std::string& prefix, const std::string& name, const RuntimeError& error) {
    return prefix + vb::fixedWidth(name, kNameWidth) + " : " +
           vb::Format(dao::Variant(static_cast<double>(error.number())), "000000") + " : " +
           error.description();
}

std::string runErrorLogLine(const std::string& name, const RuntimeError& error) {
    return vb::fixedWidth(name, kNameWidth) + " : " + vb::dateText(vb::Now()) + " : " +
           vb::Format(dao::Variant(static_cast<double>(error.number())), "000000") + " : " +
           error.description();
}

void countError(WindowState& state) {
    if (state.ErrorCount == std::numeric_limits<std::int16_t>::max()) throw RuntimeError(kErrOverflow, "Overflow");
    ++state.ErrorCount;
}

std::string queryNameAt(const WindowState& state, int position) {
    if (!state.CurrentDb) throw RuntimeError(91, "Object variable or With block variable not set");
    const auto& queries = state.CurrentDb->QueryDefs();
    if (position < 0 || position >= queries.Count())
        throw RuntimeError(kErrItemNotFound, "Item not found in this collection.");
    return queries.Item(position).Name();
}

RuntimeError asRuntimeError(const std::exception& e) {
    if (const auto* runtime = dynamic_cast<const RuntimeError*>(&e)) return *runtime;
    return RuntimeError(kErrApplicationDefined, e.what());
}

}  // namespace ql::grids
