#pragma once

#include <glob.h>
#include <string>

namespace VESK::Systemd
{

/** The paths that match patterns, in the order of the folders that hold them. */
class GlobResult
{
public:
    GlobResult() = default;
    ~GlobResult() { globfree(&m_glob); }
    GlobResult(const GlobResult&) = delete;
    GlobResult& operator=(const GlobResult&) = delete;

    /** Adds what matches `strPattern`; the result of glob(3). */
    int Add(const std::string& strPattern)
    {
        const int nResult = glob(strPattern.c_str(), GLOB_NOSORT | m_nAppend, nullptr, &m_glob);
        m_nAppend = GLOB_APPEND;
        return nResult;
    }

    char** begin() const { return m_glob.gl_pathv; }
    char** end() const { return m_glob.gl_pathv + m_glob.gl_pathc; }

private:
    glob_t m_glob{};
    int m_nAppend = 0;
};

} // namespace VESK::Systemd
