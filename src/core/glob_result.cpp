#include "core/glob_result.hpp"

namespace VESK::Systemd
{
namespace
{

/** A name that stands for itself in a pattern: unit names may well hold backslashes. */
std::string Literal(const std::string& strName)
{
    std::string strPattern;
    for (const char c : strName) {
        if (c == '\\' || c == '*' || c == '?' || c == '[') {
            strPattern += '\\';
        }
        strPattern += c;
    }
    return strPattern;
}

} // namespace

int GlobResult::Add(const std::string& strFolder, const char* szPattern)
{
    const std::string strPattern = Literal(strFolder) + szPattern;
    const int nResult = glob(strPattern.c_str(), GLOB_NOSORT | m_nAppend, nullptr, &m_glob);
    m_nAppend = GLOB_APPEND;
    return nResult;
}

} // namespace VESK::Systemd
