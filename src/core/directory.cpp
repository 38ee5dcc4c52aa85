#include "core/directory.hpp"

#include <string_view>

#include "core/file_system.hpp"

namespace VESK::Systemd
{

const char* Directory::Next()
{
    if (m_pDirectory == nullptr) {
        return nullptr;
    }
    errno = 0;
    while (const dirent* pEntry = readdir(m_pDirectory.get())) {
        const std::string_view svName = pEntry->d_name;
        if (svName != "." && svName != "..") {
            return pEntry->d_name;
        }
        errno = 0;
    }
    m_nError = errno;
    return nullptr;
}

int VisibleEntriesAppend(const std::string& strFolder, Texts& vecNames)
{
    Directory folder(strFolder);
    while (const char* szEntry = folder.Next()) {
        if (*szEntry != '.') {
            vecNames.emplace_back(szEntry);
        }
    }
    return folder.Error();
}

bool LeavesEntriesOpen(int nError)
{
    return IsShortage(nError) || nError == EIO;
}

} // namespace VESK::Systemd
