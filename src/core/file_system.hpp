#pragma once

#include <cerrno>
#include <string>
#include <sys/stat.h>

namespace VESK::Systemd
{

inline bool IsDirectory(const std::string& strPath)
{
    struct stat status {
    };
    return stat(strPath.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/** The same, but a symbolic link to one is none. */
inline bool IsOwnDirectory(const std::string& strPath)
{
    struct stat status {
    };
    return lstat(strPath.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/** Whether a call failed for lack of descriptors or memory, which tells nothing of what it was made for. */
inline bool IsShortage(int nError)
{
    return nError == EMFILE || nError == ENFILE || nError == ENOMEM;
}

/** The text after the last "/". */
inline std::string BaseName(const std::string& strPath)
{
    return strPath.substr(strPath.rfind('/') + 1);
}

} // namespace VESK::Systemd
