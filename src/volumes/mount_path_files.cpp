#include "volumes/mount_path_files.hpp"

#include "core/file_system.hpp"

namespace VESK::Systemd
{

MountPathFiles::MountPathFiles(const std::string& strMntPath)
    : m_files({strMntPath})
    , m_blIncomplete(IsShortage(m_files.Error(0)))
{
}

void MountPathFiles::Uses(int nPid, const Visit& visit)
{
    bool blUntold = false;
    const bool blAll = m_processes.Visit(nPid, [&](FileUse use, std::string_view svPath) {
        const MountedFiles::File& file = m_files.Find(svPath);
        blUntold = blUntold || IsShortage(file.nError);
        return file.vecMounts.empty() || visit(use, file.strPath);
    });
    m_blIncomplete = !blAll || blUntold;
}

} // namespace VESK::Systemd
