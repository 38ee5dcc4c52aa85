#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "volumes/mapped_files.hpp"

namespace VESK::Systemd
{

/** How a process uses a file. */
enum class FileUse { WorkingFolder, Program, Open, Mapped };

/** The files that processes use, as /proc calls them. */
class ProcessFiles
{
public:
    /** Takes the path of a file; returns whether more are wanted. */
    using Taker = std::function<bool(FileUse use, std::string_view svPath)>;

    /**
     * Hands over the paths of a process's files, until `take` returns false: of its working folder, its program, its
     * descriptors and its mappings. False when not all could be looked at for lack of descriptors or memory; what
     * is gone or may not be read does not count.
     */
    bool Visit(int nPid, const Taker& take);

private:
    /** These return false when no more are wanted. */
    bool LinkTake(FileUse use, int fdFolder, const char* szLink, const Taker& take);
    bool DescriptorsTake(const std::string& strFolder, const Taker& take);
    bool MappingsTake(const std::string& strMaps, const Taker& take);

    /** Notes what has failed. */
    void PassOver(int nError);

    MappedFiles m_mappings;
    bool m_blComplete = true;
};

} // namespace VESK::Systemd
