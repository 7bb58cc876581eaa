#include "report/ReportHeader.h"

#include <cmath>
#include <filesystem>
#include <vector>

#include "Version.h"
#include "platform/vb/VbText.h"
#include "platform/files/OutputFiles.h"
#include "report/PathText.h"
#include "report/TextFile.h"

namespace ql::report {

namespace {

const char* const RuleLine = "=======================================================================";

std::string trimBlanks(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::string reportDate(double days) { return vb::Format(dao::Date{days}, "dd mmmm yyyy"); }

std::string reportTime(double days) { return vb::timeText(days - std::trunc(days)); }

HeaderFacts currentHeaderFacts(const grids::WindowState& state) {
    const double now = vb::Now();
    HeaderFacts facts;
    facts.version = std::to_string(QL_VERSION_MAJOR) + "." + std::to_string(QL_VERSION_MINOR) + "." +
                    std::to_string(QL_VERSION_PATCH);
    facts.date = reportDate(now);
    facts.time = reportTime(now);
    facts.year = std::stoi(vb::Format(dao::Date{now}, "yyyy"));
    facts.databasePath = state.ActualDbPath;
    facts.systemDbPath = state.SystemDbPath;
    return facts;
}

std::string attributionYears(int year) { return "Copyright (C) 2003-" + std::to_string(year); }

namespace {
std::string contactText(const ContactLine& contact) {
    return std::string(" ") + contact.label + " " + contact.address;
}
}  // namespace

void WriteHeaderToFile(const std::string& outputPath, short format, const HeaderFacts& facts,
                       int& writeMode, const std::string& scratchFolder) {
    writeMode = WriteModeOverwrite;
    const bool xml = format == grids::kFormatXml;
    std::string prefix;
    std::string closingLine(1, '\f');
    std::string rootLine;
    if (xml) {
        prefix = writeMode == WriteModeOverwrite ? "<?xml version=\"1.0\"?>\r\n<!--\r\n" : "<!--\r\n";
        closingLine = "-->";
        rootLine = XmlRootOpen;
    }
    OpenMode mode = OpenMode::Output;
    if (writeMode != WriteModeOverwrite) {
        if (xml) RemoveXMLCloseTag(outputPath, scratchFolder);
        mode = OpenMode::Append;
    }
    // Inside the XML comment a path must keep the report well-formed.
    const auto pathLine = [xml](const std::string& path) { return xml ? xmlCommentPathText(path) : path; };
    std::vector<std::string> lines = {
        prefix + TitleLine,
        "",
        " VERSION : " + facts.version,
        "",
        " Database Analysis as at " + facts.date + " at " + facts.time,
        " Access Database: " + pathLine(facts.databasePath),
        " System Database: " + pathLine(facts.systemDbPath),
        "",
        " " + attributionYears(facts.year),
        std::string(" ") + MakerName,
        "",
        contactText(SupportContact),
        contactText(WebContact),
        RuleLine,
        closingLine,
    };
    // Text and CSV end on their (empty) root line; XML opens its root only in
    // a new file, since an appended header goes inside the existing root.
    if (!xml) lines.push_back(rootLine);
    else if (writeMode == WriteModeOverwrite) lines.push_back(rootLine);
    writeLines(outputPath, lines, mode);
}

void RemoveXMLCloseTag(const std::string& outputPath, const std::string& scratchFolder) {
    const std::string scratch = (std::filesystem::path(scratchFolder) / "temp.xml").string();
    std::vector<std::string> kept;
    for (const std::string& line : readLines(outputPath)) {
        if (line != XmlRootClose && !trimBlanks(line).empty()) kept.push_back(line);
    }
    writeLines(scratch, kept, OpenMode::Output);
    files::removeFile(outputPath);
    files::replaceFile(scratch, outputPath);
}

void CloseXmlReport(const std::string& outputPath, const std::string& scratchFolder) {
    RemoveXMLCloseTag(outputPath, scratchFolder);
    writeLines(outputPath, {XmlRootClose}, OpenMode::Append);
}

}  // namespace ql::report
