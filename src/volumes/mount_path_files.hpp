#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_map>

namespace VESK::Systemd
{

/** How a process uses a file. */
enum class FileUse { WorkingFolder, Program, Open, Mapped };

/**
 * One scan for the files of processes that lie on a mount path. What a text resolves to is the same for the
 * whole scan, so each is resolved once: all processes map the same libraries and many hold the same files.
 */
class MountPathFiles
{
public:
    explicit MountPathFiles(const std::string& strMntPath);

    /** Is told of a file on the mount path; false to be told of no more. */
    using Visit = std::function<bool(FileUse use, const std::string& strFile)>;

    /** Visits the files on the mount path that a process works in, runs, holds open and maps, in this order. */
    void Uses(int nPid, const Visit& visit);

    /** Whether a process works in, runs, holds open or maps a file on the mount path; that of the first
     * found. */
    bool IsUsedBy(int nPid, std::string& strFile);

    /**
     * Whether something of the last process, or of the mount path before the first, could not be looked at for
     * lack of descriptors or memory. What is gone or may not be read does not count.
     */
    bool IsIncomplete() const { return m_blIncomplete; }

private:
    using File = std::optional<std::string>;

    /** What a path resolves to when that lies on the mount path. */
    File OnMountPath(std::string_view svPath);
    /** The same for a path that is looked up for the first time; false when it cannot be told. */
    bool Resolve(const std::string& strPath, File& file);

    /** The device that a file lies on, 0 when it has none. False when it cannot be told. */
    bool DeviceGet(const std::string& strPath, dev_t& device);
    bool IsBelowMountPath(const std::string& strResolved) const;

    /** Notes what has failed. False when that tells nothing of what was looked at. */
    bool PassOver(int nError);
    bool IsLinkOnMountPath(int fdFolder, const char* szLink, std::string& strFile);
    /** False when the visit is over. */
    bool OpenVisit(const std::string& strProcess, const Visit& visit);
    bool MappedVisit(std::string_view svMaps, const Visit& visit);
    void MapsVisit(const std::string& strProcess, const Visit& visit);

    std::string m_strMntPath;
    dev_t m_device = 0;
    bool m_blIncomplete = false;
    std::unordered_map<std::string, File> m_mapResolved;
    /** The path looked up last: its memory is used again and again. */
    std::string m_strPath;
};

} // namespace VESK::Systemd
