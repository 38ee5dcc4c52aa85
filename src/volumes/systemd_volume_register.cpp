#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/file_text.hpp"
#include "core/lock_release.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/unique_fd.hpp"
#include "volumes/volume_array.hpp"

using namespace VESK::Systemd;

using std::string;

namespace
{

constexpr const char* kRegistryFile = "reg_volume";

/** A registry file: whose volumes it holds, and where. */
struct Registry {
    string strDirectory;
    string strFile;

    string PathGet() const { return strDirectory + strFile; }
};

Registry UnitRegistry(const string& strUnit)
{
    return {"/usr/vesk/etc/vesksystemd/volume-register/", NormalizedUnitNameGet(strUnit)};
}

string PackageDirectory(const string& strPackage)
{
    return "/var/packages/" + BeforeZero(strPackage);
}

Registry PackageRegistry(const string& strPackage)
{
    return {PackageDirectory(strPackage) + "/etc/veskpkg_conf/", kRegistryFile};
}

/** The registered volumes; none when there is no file yet. */
bool Read(const string& strPath, VolumeElements& vecElements)
{
    if (access(strPath.c_str(), F_OK) != 0) {
        return true;
    }
    string strText;
    const VolumeArray result =
        FileRead(strPath, strText) ? VolumeArrayParse(strText, vecElements) : VolumeArray::NotJson;
    if (result == VolumeArray::NotJson) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to read volume register file [%s]", VESK_HERE,
                 strPath.c_str());
    } else if (result == VolumeArray::NotAnArray) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Volume register file [%s] is not an json array", VESK_HERE,
                 strPath.c_str());
    }
    return result == VolumeArray::Read;
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

/** Gives a file the owner and the mode that another one has. */
bool OwnerCopy(int fd, const struct stat& before)
{
    struct stat now {
    };
    if (fstat(fd, &now) != 0) {
        return false;
    }
    const bool blSame = now.st_uid == before.st_uid && now.st_gid == before.st_gid;
    return (blSame || fchown(fd, before.st_uid, before.st_gid) == 0) &&
           fchmod(fd, before.st_mode & ALLPERMS) == 0;
}

/** Writes a file that is to take the place of the one at the path, if any, so that it is on the disk. */
bool Dump(const string& strTemporary, const string& strPath, const string& strText)
{
    struct stat before {
    };
    const bool blReplaces = stat(strPath.c_str(), &before) == 0;
    // What a killed process of the same id has left goes; what a link points at is nobody's to be written.
    unlink(strTemporary.c_str());
    // Nobody else reads it before it has the owner that it is to have.
    UniqueFd fd(open(strTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                     blReplaces ? S_IRUSR | S_IWUSR : 0644));
    return fd.IsOpen() && (!blReplaces || OwnerCopy(fd.Get(), before)) && WriteAll(fd.Get(), strText) &&
           Sync(fd.Get()) && fd.Close();
}

/** Moves a file onto another so that the disk holds the one or the other, whenever the power goes. */
bool Replace(const string& strFrom, const Registry& registry)
{
    const UniqueFd directory(open(registry.strDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.IsOpen() || rename(strFrom.c_str(), registry.PathGet().c_str()) != 0) {
        return false;
    }
    // A file system that has nothing to sync for a directory says EINVAL.
    return Sync(directory.Get()) || errno == EINVAL;
}

bool Write(const Registry& registry, const VolumeElements& vecElements)
{
    const string strPath = registry.PathGet();
    const string strTemporary = strPath + ".tmp." + std::to_string(getpid());
    bool blResult = false;
    if (!Dump(strTemporary, strPath, VolumeArrayText(vecElements))) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to dump json file to [%s]", VESK_HERE,
                 strTemporary.c_str());
    } else if (!Replace(strTemporary, registry)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to rename [%s] to [%s] (%m)", VESK_HERE,
                 strTemporary.c_str(), strPath.c_str());
    } else {
        blResult = true;
    }
    unlink(strTemporary.c_str());
    return blResult;
}

bool IsVolume(const VolumeElement& element, const string& strVolume)
{
    return element.blString && element.strVolume == strVolume;
}

bool IsRegistered(const VolumeElements& vecElements, const string& strVolume)
{
    return std::any_of(vecElements.begin(), vecElements.end(),
                       [&](const VolumeElement& element) { return IsVolume(element, strVolume); });
}

/** Runs a change of the registries while nobody else changes one. */
template <typename Change>
bool Locked(Change&& change)
{
    FileLock lock("/run/vesksystemd/locks/volume-register.lock", true, 0);
    const LockRelease release(lock);
    if (!lock.Acquire()) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: lock [%s] is not available.", VESK_HERE,
                 lock.PathGet().c_str());
        return false;
    }
    return change();
}

bool Register(const Registry& registry, const string& strVolume)
{
    return Locked([&] {
        if (VLIBCExec("/bin/mkdir", "-p", registry.strDirectory.c_str(), nullptr, nullptr) < 0) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to mkdir [%s] [0x%04X %s:%d]", VESK_HERE,
                     registry.strDirectory.c_str(), VESK_PLATFORM_ERROR);
            return false;
        }
        VolumeElements vecElements;
        if (!Read(registry.PathGet(), vecElements)) {
            return false;
        }
        if (IsRegistered(vecElements, strVolume)) {
            return true;
        }
        vecElements.push_back(VolumeElementMake(strVolume));
        return Write(registry, vecElements);
    });
}

bool Unregister(const Registry& registry, const string& strVolume)
{
    return Locked([&] {
        VolumeElements vecElements;
        if (!Read(registry.PathGet(), vecElements)) {
            return false;
        }
        vecElements.erase(
            std::remove_if(vecElements.begin(), vecElements.end(),
                           [&](const VolumeElement& element) { return IsVolume(element, strVolume); }),
            vecElements.end());
        return Write(registry, vecElements);
    });
}

bool IsAnyRegistered(const Registry& registry, const std::vector<string>& vecVolumes)
{
    VolumeElements vecElements;
    return Read(registry.PathGet(), vecElements) &&
           std::any_of(vecVolumes.begin(), vecVolumes.end(),
                       [&](const string& strVolume) { return IsRegistered(vecElements, strVolume); });
}

/** Whether a unit or a package of this name can have a registry. */
bool MayBeRegistered(const string& strName)
{
    if (!IsEntryName(strName)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    return HasName(strName);
}

bool IsVolumePath(const string& strVolume)
{
    return VESK_ARGUMENT(!strVolume.empty()) && VESK_ARGUMENT('/' == strVolume.front()) &&
           VESK_ARGUMENT('/' != strVolume.back());
}

} // namespace

bool VESKSystemdVolumeRegister(const string& strUnit, const string& strVolume)
{
    return VESK_ARGUMENT_NAME(strUnit) && VESK_ARGUMENT(IsEntryName(strUnit)) && IsVolumePath(strVolume) &&
           Register(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdVolumeUnregister(const string& strUnit, const string& strVolume)
{
    return VESK_ARGUMENT_NAME(strUnit) && VESK_ARGUMENT(IsEntryName(strUnit)) && IsVolumePath(strVolume) &&
           Unregister(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdPackageVolumeRegister(const string& strPackage, const string& strVolume)
{
    if (!VESK_ARGUMENT_NAME(strPackage) || !VESK_ARGUMENT(IsEntryName(strPackage)) ||
        !IsVolumePath(strVolume)) {
        return false;
    }
    const string strDirectory = PackageDirectory(strPackage);
    if (VLIBCFileCheckDir(strDirectory.c_str()) == 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCFileCheckDir on [%s] [0x%04X %s:%d]", VESK_HERE,
                 strDirectory.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return Register(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdPackageVolumeUnregister(const string& strPackage, const string& strVolume)
{
    return VESK_ARGUMENT_NAME(strPackage) && VESK_ARGUMENT(IsEntryName(strPackage)) &&
           IsVolumePath(strVolume) && Unregister(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdVolumeIsRegisteredByUnit(const string& strUnit, const std::vector<string>& vecVolumes)
{
    return !vecVolumes.empty() && MayBeRegistered(strUnit) &&
           IsAnyRegistered(UnitRegistry(strUnit), vecVolumes);
}

bool VESKSystemdVolumeIsRegisteredByPackage(const string& strPackage, const std::vector<string>& vecVolumes)
{
    return !vecVolumes.empty() && MayBeRegistered(strPackage) &&
           IsAnyRegistered(PackageRegistry(strPackage), vecVolumes);
}

int VESKCSystemdVolumeRegister(const char* szUnit, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdVolumeRegister(szUnit, szVolume);
    });
}

int VESKCSystemdVolumeUnregister(const char* szUnit, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdVolumeUnregister(szUnit, szVolume);
    });
}

int VESKCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szPackage) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdPackageVolumeRegister(szPackage, szVolume);
    });
}

int VESKCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szPackage) && VESK_ARGUMENT(nullptr != szVolume) &&
               VESKSystemdPackageVolumeUnregister(szPackage, szVolume);
    });
}
