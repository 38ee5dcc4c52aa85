#include "replace_file.h"

#include "file_mode.h"
#include "read_file.h"
#include "unique_fd.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/random.h>
#include <unistd.h>

namespace VESK::Platform
{
namespace
{

constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kPermissions = 0777;

std::string Resolve(const char* path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path, nullptr), std::free);
    return real != nullptr ? real.get() : path;
}

std::string DirectoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

int WriteAll(int fd, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = write(fd, content.data(), content.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        content.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

/** A new file beside the one to be replaced; removed again unless it took that one's place. */
class TemporaryFile
{
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        if (m_isThere) {
            unlink(m_path.c_str());
        }
    }

    int Create(const std::string& directory)
    {
        do {
            std::uint64_t number = 0;
            if (getrandom(&number, sizeof number, 0) < 0) {
                return errno;
            }
            m_path = directory + ".vesk-" + std::to_string(number) + ".tmp";
            m_fd.Reset(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateMode));
        } while (!m_fd && errno == EEXIST);
        m_isThere = static_cast<bool>(m_fd);
        return m_isThere ? 0 : errno;
    }

    /** Puts what was written on the disk. */
    int Finish()
    {
        if (fsync(m_fd.Get()) != 0) {
            return errno;
        }
        // Some file systems tell only now that there was no room. The descriptor is gone in any case.
        return close(m_fd.Release()) == 0 ? 0 : errno;
    }

    int TakePlaceOf(const std::string& path)
    {
        m_isThere = rename(m_path.c_str(), path.c_str()) != 0;
        return m_isThere ? errno : 0;
    }

    int Fd() const { return m_fd.Get(); }

private:
    std::string m_path;
    UniqueFd m_fd;
    bool m_isThere = false;
};

/** Owner and permissions; more than these, such as to run as the owner, no unit file needs. */
int CopyOwnership(int fd, const struct stat& before)
{
    struct stat now {
    };
    if (fstat(fd, &now) != 0) {
        return errno;
    }
    const bool sameOwner = now.st_uid == before.st_uid && now.st_gid == before.st_gid;
    if (!sameOwner && fchown(fd, before.st_uid, before.st_gid) != 0) {
        return errno;
    }
    return fchmod(fd, before.st_mode & kPermissions) == 0 ? 0 : errno;
}

int SyncDirectory(int fd)
{
    // Some file systems have nothing to sync for a directory and say so with EINVAL.
    return fsync(fd) == 0 || errno == EINVAL ? 0 : errno;
}

} // namespace

FileReplacement::FileReplacement(const char* path)
    : m_path(Resolve(path))
{
}

int FileReplacement::ReadCurrent(std::string& content)
{
    content.clear();
    const UniqueFd fd(open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) {
        return errno == ENOENT ? 0 : errno;
    }
    struct stat status {
    };
    const int error = ReadRegularFile(fd.Get(), content, status);
    if (error == 0) {
        m_before = status;
    }
    return error;
}

int FileReplacement::Replace(std::string_view content)
{
    if (content.size() > kLargestFile) {
        return EFBIG;
    }
    const std::string directory = DirectoryOf(m_path);
    // Opened first: when it cannot be, nothing has changed yet.
    const UniqueFd directoryFd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directoryFd) {
        return errno;
    }
    TemporaryFile file;
    int error = file.Create(directory);
    if (error == 0) {
        error = m_before ? CopyOwnership(file.Fd(), *m_before) : SetMode(file.Fd(), kNewFileMode);
    }
    if (error == 0) {
        error = WriteAll(file.Fd(), content);
    }
    if (error == 0) {
        error = file.Finish();
    }
    if (error == 0) {
        error = file.TakePlaceOf(m_path);
    }
    return error == 0 ? SyncDirectory(directoryFd.Get()) : error;
}

} // namespace VESK::Platform
