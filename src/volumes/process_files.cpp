#include "volumes/process_files.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "core/file_text.hpp"

namespace VESK::Systemd
{

bool ProcessFiles::Visit(int nPid, const Taker& take)
{
    m_blComplete = true;
    const std::string strProcess = "/proc/" + std::to_string(nPid);
    (void)(LinkTake(FileUse::WorkingFolder, AT_FDCWD, (strProcess + "/cwd").c_str(), take) &&
           LinkTake(FileUse::Program, AT_FDCWD, (strProcess + "/exe").c_str(), take) &&
           DescriptorsTake(strProcess + "/fd/", take) && MappingsTake(strProcess + "/maps", take));
    return m_blComplete;
}

void ProcessFiles::PassOver(int nError)
{
    m_blComplete = m_blComplete && !IsShortage(nError);
}

bool ProcessFiles::LinkTake(FileUse use, int fdFolder, const char* szLink, const Taker& take)
{
    std::array<char, PATH_MAX> target;
    const ssize_t cbTarget = readlinkat(fdFolder, szLink, target.data(), target.size());
    if (cbTarget < 0) {
        PassOver(errno);
    }
    // What is no file, as a socket, has no absolute path to resolve.
    return cbTarget <= 0 || target[0] != '/' || take(use, {target.data(), static_cast<size_t>(cbTarget)});
}

bool ProcessFiles::DescriptorsTake(const std::string& strFolder, const Taker& take)
{
    Directory descriptors(strFolder);
    if (descriptors.Error() != 0) {
        PassOver(descriptors.Error());
        return true;
    }
    while (const char* szDescriptor = descriptors.Next()) {
        if (!LinkTake(FileUse::Open, descriptors.Descriptor(), szDescriptor, take)) {
            return false;
        }
    }
    // A list that breaks off may hold more, but that of a process that ends.
    const int nError = descriptors.Error();
    m_blComplete = m_blComplete && (nError == 0 || nError == ENOENT || nError == ESRCH);
    return true;
}

bool ProcessFiles::MappingsTake(const std::string& strMaps, const Taker& take)
{
    const UniqueFd fd = FileOpen(strMaps);
    const auto mappedTake = [&](std::string_view svPath) { return take(FileUse::Mapped, svPath); };
    bool blMore = true;
    if (!fd.IsOpen() || !m_mappings.Visit(fd.Get(), mappedTake, blMore)) {
        PassOver(errno);
    }
    return blMore;
}

} // namespace VESK::Systemd
