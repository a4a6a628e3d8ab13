/// \file
/// The classes of the COM server that the tests load, and how to make them behave.
#pragma once

#include <guiddef.h>

namespace qm::test {

/// A report interface. EditQuery writes a query file into a folder, or changes the description in a file; GenerateReport writes the
/// arguments and their types into "<query file>.generated". A target whose name holds one of the words of SampleFailure fails in that way.
inline constexpr GUID kReportsClass = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x01}};
/// A query access component for files with a line "description = ...": its query object keeps the other lines. A path with "nowhere" in it
/// is not written although that is reported as success; for one with "nothing" ReadFile gives no object.
inline constexpr GUID kQueriesClass = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x02}};
/// What a test puts in the place of ADODB.Connection: Open and Close write what they were given into the file that "Data Source" names, and
/// fail as the word in "Initial Catalog" says.
inline constexpr GUID kConnectionClass = {0x5d3c0b0e, 0x77a1, 0x4f0a, {0x9e, 0x41, 0x0c, 0x5e, 0x1d, 0x32, 0xa9, 0x03}};

/// Has EditQuery and GenerateReport hand messages on for a while, as a window of theirs would.
inline constexpr wchar_t kLingering[] = L"lingering";

/// Words that make a call fail.
namespace failing {
inline constexpr wchar_t described[] = L"described"; ///< classic error 53 with text and source, told only when asked for
inline constexpr wchar_t cancelled[] = L"cancelled"; ///< the number of an operator's cancel, with text
inline constexpr wchar_t numbered[] = L"numbered";   ///< a number of the component's own (1004), no HRESULT
inline constexpr wchar_t wordless[] = L"wordless";   ///< classic error 70 without text
inline constexpr wchar_t bare[] = L"bare";           ///< E_FAIL and nothing else
inline constexpr wchar_t provider[] = L"provider";   ///< ADO's "Provider cannot be found"
} // namespace failing

} // namespace qm::test
