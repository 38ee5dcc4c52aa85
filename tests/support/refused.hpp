// Arguments that are refused. For programs that link veskcore.
#pragma once

#include <gmock/gmock.h>
#include <string>
#include <veskcore.h>

#include "library_log.hpp"
#include "words.hpp"

namespace VeskTest
{

constexpr int kInvalidArgument = 0x0D00;

// That the operations since the last Take() refused these arguments, each in a line of that source file, and logged
// nothing else, and that the last one set the error record, which is cleared for the next check.
inline ::testing::AssertionResult Refused(SyslogCapture& log, const std::string& file,
                                          const Words& conditions)
{
    LogMatchers lines;
    for (const std::string& condition : conditions) {
        lines.push_back(RefusedArgument(file, condition));
    }
    const bool isSet =
        VLIBCErrGet() == kInvalidArgument && VLIBCErrorGetFile() == file && VLIBCErrorGetLine() > 0;
    const auto record = ::testing::AssertionFailure() << "error " << VLIBCErrGet() << " of "
                                                      << VLIBCErrorGetFile() << ":" << VLIBCErrorGetLine();
    VLIBCErrSetEx(0, "", 0);
    ::testing::StringMatchResultListener why;
    const std::vector<SyslogLine> entries = log.Take();
    if (!::testing::ExplainMatchResult(::testing::ElementsAreArray(lines), entries, &why)) {
        return ::testing::AssertionFailure() << ::testing::PrintToString(entries) << ", " << why.str();
    }
    return isSet ? ::testing::AssertionSuccess() : record;
}

} // namespace VeskTest
