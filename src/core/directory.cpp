#include "core/directory.hpp"

#include <string_view>

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

} // namespace VESK::Systemd
