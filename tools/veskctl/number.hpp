#pragma once

#include <charconv>
#include <string>

namespace Veskctl
{

/** The whole number that a text is, if it is one from 1 to that one; else 0. */
inline int NumberOf(const std::string& strText, int nMost)
{
    int nNumber = 0;
    const char* pEnd = strText.data() + strText.size();
    const auto [pRead, error] = std::from_chars(strText.data(), pEnd, nNumber);
    return error == std::errc() && pRead == pEnd && nNumber >= 1 && nNumber <= nMost ? nNumber : 0;
}

} // namespace Veskctl
