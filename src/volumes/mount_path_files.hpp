#pragma once

#include <functional>
#include <string>

#include "volumes/mounted_files.hpp"
#include "volumes/process_files.hpp"

namespace VESK::Systemd
{

/** One scan for all files of processes that lie on a mount path. */
class MountPathFiles
{
public:
    explicit MountPathFiles(const std::string& strMntPath);

    /** Is told of a file on the mount path; false to be told of no more. */
    using Visit = std::function<bool(FileUse use, const std::string& strFile)>;

    /** Visits the files on the mount path that a process works in, runs, holds open and maps, in this order. */
    void Uses(int nPid, const Visit& visit);

    /**
     * Whether something of the last process, or of the mount path before the first, could not be looked at for
     * lack of descriptors or memory. What is gone or may not be read does not count.
     */
    bool IsIncomplete() const { return m_blIncomplete; }

private:
    MountedFiles m_files;
    ProcessFiles m_processes;
    bool m_blIncomplete;
};

} // namespace VESK::Systemd
