#pragma once

#include <array>
#include <regex.h>
#include <string>

namespace VESK::Systemd
{

/**
 * A compiled POSIX extended regular expression of the whole process, which is never freed: while a process ends, its
 * other threads may still be in the library.
 */
class Pattern
{
public:
    explicit Pattern(const char* szPattern) noexcept
        : m_nError(regcomp(&m_regex, szPattern, REG_EXTENDED))
    {
    }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    /** 0, or why it could not be compiled. */
    int Error() const { return m_nError; }

    int Execute(const std::string& strLine, std::array<regmatch_t, 2>& matches) const
    {
        return regexec(&m_regex, strLine.c_str(), matches.size(), matches.data(), 0);
    }

    std::array<char, 1024> ErrorText(int nError) const
    {
        std::array<char, 1024> text{};
        regerror(nError, &m_regex, text.data(), text.size());
        return text;
    }

private:
    regex_t m_regex{};
    int m_nError;
};

} // namespace VESK::Systemd
