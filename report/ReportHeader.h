#pragma once
// The header block that starts every text, XML and CSV report, and the
// reopening of an XML report for more output.
#include <string>

#include "grids/WindowState.h"

namespace ql::report {

// Write modes of the output prompt: 1 overwrite, 2 append, 3 cancel.
inline constexpr int WriteModeOverwrite = 1;

inline constexpr const char* XmlRootOpen = "<Quarrylantern>";
inline constexpr const char* XmlRootClose = "</Quarrylantern>";

// What the header says. Dates and times come formatted by the caller, so the
// window and the headless tool share one clock and one date format.
struct HeaderFacts {
    std::string version;       // "major.minor.revision"
    std::string date;          // "dd mmmm yyyy"
    std::string time;          // the short time form
    int year = 0;              // ends the attribution's year range
    std::string databasePath;
    std::string systemDbPath;
};

// The facts as of now: the program's version, today's date as
// "dd mmmm yyyy", the time as the runtime writes a time of day, and the
// state's database and workgroup paths.
HeaderFacts currentHeaderFacts(const grids::WindowState& state);

// The date and time texts the report stamps: Format(Now, "dd mmmm yyyy") and
// the time of day of `days` (a VB date).
std::string reportDate(double days);
std::string reportTime(double days);

// Writes the header of a text, XML or CSV report to `outputPath` (the
// workbook format is written elsewhere). `writeMode` is reset to overwrite on
// entry, so a header always starts a new file; the append branch stays for a
// caller that changes the mode between the reset and the open.
// `scratchFolder` holds the temporary file of RemoveXMLCloseTag.
void WriteHeaderToFile(const std::string& outputPath, short format, const HeaderFacts& facts,
                       int& writeMode, const std::string& scratchFolder);

// Rewrites an XML report without its closing root line and without blank
// lines, through "temp.xml" in `scratchFolder`, so that more output (and a
// closing line) can follow. Raises ql::RuntimeError when a file cannot be
// read or written.
void RemoveXMLCloseTag(const std::string& outputPath, const std::string& scratchFolder);

// RemoveXMLCloseTag, then one closing root line: the report is well-formed
// again and ends with exactly one closing line however often this runs.
void CloseXmlReport(const std::string& outputPath, const std::string& scratchFolder);

// The maker's lines shared by the text header and the workbook's header sheet.
std::string attributionYears(int year);  // "Copyright (C) 2003-<year>"
inline constexpr const char* MakerName = "Orvex Software";
struct ContactLine {
    const char* label;
    const char* address;
};
inline constexpr ContactLine SupportContact = {"Support :", "support@orvex.example"};
inline constexpr ContactLine WebContact = {"Web     :", "https://www.orvex.example/quarrylantern"};

inline constexpr const char* TitleLine =
    "**************************  ACCESS DATABASE ANALYSIS PROGRAM **************";

}  // namespace ql::report
