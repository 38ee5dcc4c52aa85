#include "vesksystemd.hpp"

#include <cstring>
#include <libgen.h>
#include <unistd.h>
#include <utility>

#include "core/c_memory.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

namespace VESK::Systemd
{
namespace
{

bool DirectoryGet(const std::string& strPath, std::string& strDirectory)
{
    // dirname writes into the text that it is given.
    const CText pPath(strdup(strPath.c_str()));
    if (pPath == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to alloc pointer: %m", VESK_HERE);
        return false;
    }
    const char* szDirectory = dirname(pPath.get());
    if (szDirectory == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to execute dirname: %m", VESK_HERE);
        return false;
    }
    strDirectory = szDirectory;
    return true;
}

} // namespace

FileLock::FileLock(const std::string& strPath, bool blMode, int nTimeout)
    : m_strPath(strPath)
    , m_blMode(blMode)
    , m_nTimeout(nTimeout)
{
}

FileLock& FileLock::operator=(const FileLock& other)
{
    if (m_fd != other.m_fd) {
        CloseFd();
    }
    m_strPath = other.m_strPath;
    m_blMode = other.m_blMode;
    m_nTimeout = other.m_nTimeout;
    m_fd = other.m_fd;
    return *this;
}

FileLock::~FileLock()
{
    CloseFd();
}

bool FileLock::Acquire()
{
    if (m_fd != -1) {
        return true;
    }
    std::string strDirectory;
    if (!DirectoryGet(m_strPath, strDirectory)) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to get dirname: [%s]", VESK_HERE, m_strPath.c_str());
        return false;
    }
    if (VLIBCExec("/bin/mkdir", "-p", strDirectory.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to mkdir [%s]", VESK_HERE, strDirectory.c_str());
        return false;
    }
    if (VLIBCFileLockTimeByFile(m_strPath.c_str(), m_blMode, m_nTimeout, &m_fd) == 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get lock [%s] [0x%04X %s:%d]", VESK_HERE,
                 m_strPath.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return true;
}

void FileLock::Release()
{
    if (m_fd != -1) {
        VLIBCFileUnlockByFile(std::exchange(m_fd, -1));
    }
}

void FileLock::CloseFd()
{
    if (m_fd == -1) {
        return;
    }
    if (close(m_fd) != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to close fd: [%d] [%m]", VESK_HERE, m_fd);
    }
    m_fd = -1;
}

void FileLock::LogLockFailed(std::string strWhat)
{
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to get lock for [%s], lock is [%s].", VESK_HERE,
             strWhat.c_str(), m_strPath.c_str());
}

void FileLock::LogLockFailed(Texts vecWhat)
{
    LogLockFailed(Joined(vecWhat, " "));
}

std::string FileLock::PathGet()
{
    return m_strPath;
}

SystemOperationLock::SystemOperationLock()
    : FileLock("/run/vesksystemd/locks/system-operation.lock", true, 120)
{
}

} // namespace VESK::Systemd
