#pragma once

#include <glob.h>
#include <string>

namespace VESK::Systemd
{

/** The entries of folders that match patterns, in the order in which the folders hold them. */
class GlobResult
{
public:
    GlobResult() = default;
    ~GlobResult() { globfree(&m_glob); }
    GlobResult(const GlobResult&) = delete;
    GlobResult& operator=(const GlobResult&) = delete;

    /** Adds what matches the pattern in the folder, whose name is taken literally; the result of glob(3). */
    int Add(const std::string& strFolder, const char* szPattern);

    char** begin() const { return m_glob.gl_pathv; }
    char** end() const { return m_glob.gl_pathv + m_glob.gl_pathc; }

private:
    glob_t m_glob{};
    int m_nAppend = 0;
};

} // namespace VESK::Systemd
