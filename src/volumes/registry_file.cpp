#include "volumes/registry_file.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "core/file_text.hpp"
#include "core/unique_fd.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr size_t kMostBytes = size_t{1024} * 1024;

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr mode_t kNewFile = 0644;

bool IsRegistry(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_size <= static_cast<off_t>(kMostBytes);
}

/** Reads to the end, which must come before the file is too large: it may grow meanwhile. */
bool ReadAll(int fd, std::string& strText)
{
    std::array<char, size_t{16} * 1024> buffer;
    ssize_t cbRead = 0;
    while (strText.size() <= kMostBytes && (cbRead = ReadSome(fd, buffer.data(), buffer.size())) > 0) {
        strText.append(buffer.data(), static_cast<size_t>(cbRead));
    }
    return cbRead == 0 && strText.size() <= kMostBytes;
}

bool WriteAll(int fd, std::string_view svText)
{
    while (!svText.empty()) {
        const ssize_t cbWritten = write(fd, svText.data(), svText.size());
        if (cbWritten == 0 || (cbWritten < 0 && errno != EINTR)) {
            return false;
        }
        svText.remove_prefix(cbWritten < 0 ? 0 : static_cast<size_t>(cbWritten));
    }
    return true;
}

bool Sync(int fd)
{
    int nResult = 0;
    do {
        nResult = fsync(fd);
    } while (nResult != 0 && errno == EINTR);
    return nResult == 0;
}

/** Whether a change of owner or mode worked, or is one that this caller or this file system may not make. */
bool IsGivenIfAllowed(int nResult)
{
    return nResult == 0 || errno == EPERM || errno == EINVAL || errno == ENOTSUP;
}

/** Gives a file the owner and the permissions that another one has, as far as they can be given. */
bool OwnerCopy(int fd, const struct stat& before)
{
    struct stat now {
    };
    if (fstat(fd, &now) != 0) {
        return false;
    }
    const auto giveGroup = [&] { return fchown(fd, static_cast<uid_t>(-1), before.st_gid); };
    const bool blSame = now.st_uid == before.st_uid && now.st_gid == before.st_gid;
    return (blSame || fchown(fd, before.st_uid, before.st_gid) == 0 || IsGivenIfAllowed(giveGroup())) &&
           IsGivenIfAllowed(fchmod(fd, before.st_mode & kPermissions));
}

} // namespace

RegistryFile RegistryFileRead(const std::string& strPath, std::string& strText)
{
    struct stat status {
    };
    if (stat(strPath.c_str(), &status) != 0) {
        return errno == ENOENT ? RegistryFile::Missing : RegistryFile::Unreadable;
    }
    // Opening a device may do more than that.
    if (!IsRegistry(status)) {
        return RegistryFile::Unreadable;
    }
    const UniqueFd fd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    const bool blRead =
        fd.IsOpen() && fstat(fd.Get(), &status) == 0 && IsRegistry(status) && ReadAll(fd.Get(), strText);
    return blRead ? RegistryFile::Read : RegistryFile::Unreadable;
}

ReplacingFile::ReplacingFile(const std::string& strFolder, const std::string& strFile)
    : m_strFolder(strFolder)
    , m_strReplaced(strFolder + strFile)
    , m_strPath(m_strReplaced + ".tmp." + std::to_string(getpid()))
{
}

ReplacingFile::~ReplacingFile()
{
    unlink(m_strPath.c_str());
}

bool ReplacingFile::Dump(const std::string& strText) const
{
    struct stat before {
    };
    if (stat(m_strReplaced.c_str(), &before) != 0 && errno != ENOENT) {
        return false;
    }
    // What could not be read again is not written.
    if (strText.size() > kMostBytes) {
        return false;
    }
    const bool blReplaces = S_ISREG(before.st_mode);
    // What a killed process of the same id has left goes; what a link points at is nobody's to be written.
    unlink(m_strPath.c_str());
    // Nobody else reads it before it has the owner that it is to have.
    UniqueFd fd(open(m_strPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    // What the caller's umask takes away is given back.
    return fd.IsOpen() && (blReplaces ? OwnerCopy(fd.Get(), before) : fchmod(fd.Get(), kNewFile) == 0) &&
           WriteAll(fd.Get(), strText) && Sync(fd.Get()) && fd.Close();
}

ReplacingFile::Result ReplacingFile::TakePlace() const
{
    const UniqueFd folder(open(m_strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if ((!folder.IsOpen() && errno != EACCES) || rename(m_strPath.c_str(), m_strReplaced.c_str()) != 0) {
        return Result::NotRenamed;
    }
    if (folder.IsOpen()) {
        // A file system that has nothing to sync for a folder says EINVAL.
        return Sync(folder.Get()) || errno == EINVAL ? Result::Done : Result::NotSynced;
    }
    // A folder that may be written but not read gets to the disk with all else that is on it.
    const UniqueFd file(open(m_strReplaced.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.IsOpen() && syncfs(file.Get()) == 0 ? Result::Done : Result::NotSynced;
}

} // namespace VESK::Systemd
