#include "resource/runtime_folder.hpp"

#include <sys/stat.h>

namespace VESK::Systemd
{

std::string RuntimeFolderGet(uid_t uid, SystemdKind kind)
{
    if (kind == SystemdKind::Platform) {
        return {};
    }
    const std::string strFolder = "/run/user/" + std::to_string(uid);
    struct stat status {
    };
    const bool blOwn = lstat(strFolder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                       status.st_uid == uid && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return blOwn ? strFolder : std::string();
}

} // namespace VESK::Systemd
