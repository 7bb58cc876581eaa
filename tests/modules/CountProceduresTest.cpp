// The word rule behind the Funcs and Subs columns, on small modules.
#include "grids/CountProcedures.h"
#include "platform/vba/Automation.h"
#include "platform/vba/ModuleSource.h"

#include <gtest/gtest.h>

namespace ql::grids {
namespace {

struct Counts {
    std::int32_t functions;
    std::int32_t subs;
    bool operator==(const Counts&) const = default;
};

void PrintTo(const Counts& c, std::ostream* os) { *os << "{functions " << c.functions << ", subs " << c.subs << "}"; }

Counts countsOf(const std::string& body) {
    const vba::ModuleSource source("Attribute VB_Name = \"M\"\r\n" + body, 1252);
    const vba::AutomationModule module("M", nullptr, source);
    return {CountProcedures(&module, kCountFunctions), CountProcedures(&module, kCountSubs)};
}

TEST(CountProcedures, PlainPublicAndPrivateDeclarationsCount) {
    EXPECT_EQ(countsOf("Function F()\r\nEnd Function\r\n"), (Counts{1, 0}));
    EXPECT_EQ(countsOf("Public Function F() As Long\r\nEnd Function\r\n"), (Counts{1, 0}));
    EXPECT_EQ(countsOf("Private Function F(a As String) As Long\r\nEnd Function\r\n"), (Counts{1, 0}));
    EXPECT_EQ(countsOf("Sub S()\r\nEnd Sub\r\nPrivate Sub T()\r\nEnd Sub\r\nPublic Sub U()\r\nEnd Sub\r\n"),
              (Counts{0, 3}));
    // Leading and trailing blanks are trimmed first.
    EXPECT_EQ(countsOf("   Sub Indented()   \r\n"), (Counts{0, 1}));
    // Continued declarations count once, by their first physical line.
    EXPECT_EQ(countsOf("Public Function F( _\r\n    a As Long) As Long\r\nEnd Function\r\n"), (Counts{1, 0}));
}

TEST(CountProcedures, OtherKindsOfProcedureLineAreNotCounted) {
    EXPECT_EQ(countsOf("Public Property Get P() As Long\r\nEnd Property\r\n"
                       "Property Let P(v As Long)\r\nEnd Property\r\n"
                       "Friend Function F()\r\nEnd Function\r\n"
                       "Static Sub S()\r\nEnd Sub\r\n"
                       "Public Static Function G()\r\nEnd Function\r\n"
                       "Private Declare Function GetTickCount Lib \"kernel32\" () As Long\r\n"
                       "Declare Sub Sleep Lib \"kernel32\" (ByVal ms As Long)\r\n"
                       "Exit Function\r\n' Function in a comment\r\nx = 1: Sub\r\n"),
              (Counts{0, 0}));
    EXPECT_EQ(countsOf("Option Compare Database\r\nOption Explicit\r\n\r\nDim x As Long\r\n"), (Counts{0, 0}));
    EXPECT_EQ(countsOf(""), (Counts{0, 0}));
}

TEST(CountProceduresWords, AreCaseSensitiveAndSeparatedOnlyByTheSpace) {
    EXPECT_EQ(countsOf("function f()\r\nSUB S()\r\npublic Sub S()\r\n"), (Counts{0, 0}));
    // A tab is not a blank: neither between the words nor around the line.
    EXPECT_EQ(countsOf("Sub\tS()\r\n\tSub S()\r\nFunction\tF()\r\n"), (Counts{0, 0}));
    // A double blank leaves an empty word.
    EXPECT_EQ(countsOf("Public  Function F()\r\n"), (Counts{0, 0}));
    // A lone keyword has no blank and is passed over.
    EXPECT_EQ(countsOf("Function\r\nSub\r\nPublic\r\n"), (Counts{0, 0}));
    // A declaration split before its keyword is counted by the line the
    // keyword starts, as the rule reads it.
    EXPECT_EQ(countsOf("Private Declare _\r\nFunction GetTickCount Lib \"kernel32\" () As Long\r\n"), (Counts{1, 0}));
}

TEST(CountProceduresErrors, PublicOrPrivateWithoutAFurtherBlankIsAnInvalidCall) {
    // Private, a space, Sub and a tab: the second word has no blank after it.
    EXPECT_EQ(countsOf("Private Sub\tS()\r\nEnd Sub\r\n"), (Counts{-5, -5}));
    EXPECT_EQ(countsOf("Public gName\r\n"), (Counts{-5, -5}));
    // The first error ends the count, whatever was counted before it.
    EXPECT_EQ(countsOf("Sub A()\r\nEnd Sub\r\nFunction F()\r\nEnd Function\r\nPrivate mCount\r\nSub B()\r\n"),
              (Counts{-5, -5}));
}

TEST(CountProceduresErrors, UnreadableModuleGivesItsNumberNegatedAndUnknownKindsNothing) {
    const vba::AutomationModule compiled("M", RuntimeError(vba::automation_errors::ModuleCompiledOnly, "no source"));
    EXPECT_EQ(CountProcedures(&compiled, kCountFunctions), -vba::automation_errors::ModuleCompiledOnly);
    EXPECT_EQ(CountProcedures(&compiled, kCountSubs), -vba::automation_errors::ModuleCompiledOnly);
    EXPECT_EQ(CountProcedures(nullptr, kCountSubs), -91);
    // Any other kind counts nothing.
    const vba::ModuleSource source("Function F()\r\nSub S()\r\n", 1252);
    const vba::AutomationModule module("M", nullptr, source);
    EXPECT_EQ(CountProcedures(&module, 2), 0);
    EXPECT_EQ(CountProcedures(&module, -1), 0);
}

}  // namespace
}  // namespace ql::grids
