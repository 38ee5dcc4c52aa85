#include "vesksystemd.hpp"

#include <algorithm>

#include "core/c_forms.hpp"
#include "core/lock_release.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/paths.hpp"
#include "core/text.hpp"
#include "volumes/registry_file.hpp"
#include "volumes/volume_array.hpp"

using namespace VESK::Systemd;

namespace
{

/** A registry file: whose volumes it holds, and where. */
struct Registry {
    std::string strDirectory;
    std::string strFile;

    std::string PathGet() const { return strDirectory + strFile; }
};

Registry UnitRegistry(const std::string& strUnit)
{
    return {kVolumeRegisterDirectory, NormalizedUnitNameGet(strUnit)};
}

std::string PackageDirectory(const std::string& strPackage)
{
    return kPackagesDirectory + BeforeZero(strPackage);
}

Registry PackageRegistry(const std::string& strPackage)
{
    const std::string strPath = PackageDirectory(strPackage) + kPackageRegisterFile;
    const size_t nFile = strPath.rfind('/') + 1;
    return {strPath.substr(0, nFile), strPath.substr(nFile)};
}

/** The registered volumes; none when there is no file yet. */
bool Read(const std::string& strPath, VolumeElements& vecElements)
{
    std::string strText;
    const RegistryFile file = RegistryFileRead(strPath, strText);
    if (file == RegistryFile::Missing) {
        return true;
    }
    const VolumeArray result =
        file == RegistryFile::Read ? VolumeArrayParse(strText, vecElements) : VolumeArray::NotJson;
    if (result == VolumeArray::NotJson) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to read volume register file [%s]", VESK_HERE,
                 strPath.c_str());
    } else if (result == VolumeArray::NotAnArray) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Volume register file [%s] is not an json array", VESK_HERE,
                 strPath.c_str());
    }
    return result == VolumeArray::Read;
}

bool Write(const Registry& registry, const VolumeElements& vecElements)
{
    const std::string strPath = registry.PathGet();
    const ReplacingFile file(registry.strDirectory, registry.strFile);
    if (!file.Dump(VolumeArrayText(vecElements))) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to dump json file to [%s]", VESK_HERE,
                 file.PathGet().c_str());
        return false;
    }
    switch (file.TakePlace()) {
    case ReplacingFile::Result::Done:
        return true;
    case ReplacingFile::Result::NotRenamed:
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to rename [%s] to [%s] (%m)", VESK_HERE,
                 file.PathGet().c_str(), strPath.c_str());
        break;
    case ReplacingFile::Result::NotSynced:
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to sync [%s] (%m)", VESK_HERE, strPath.c_str());
        break;
    }
    return false;
}

bool IsVolume(const VolumeElement& element, const std::string& strVolume)
{
    return element.blString && element.strVolume == strVolume;
}

bool IsRegistered(const VolumeElements& vecElements, const std::string& strVolume)
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

bool Register(const Registry& registry, const std::string& strGivenVolume)
{
    return Locked([&] {
        const std::string strVolume = BeforeZero(strGivenVolume);
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

bool Unregister(const Registry& registry, const std::string& strGivenVolume)
{
    return Locked([&] {
        const std::string strVolume = BeforeZero(strGivenVolume);
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

bool IsAnyRegistered(const Registry& registry, const Texts& vecGivenVolumes)
{
    const Texts vecVolumes = NamesGet(vecGivenVolumes);
    VolumeElements vecElements;
    return Read(registry.PathGet(), vecElements) &&
           std::any_of(vecVolumes.begin(), vecVolumes.end(),
                       [&](const std::string& strVolume) { return IsRegistered(vecElements, strVolume); });
}

/** Whether a unit or a package of this name can have a registry. */
bool MayBeRegistered(const std::string& strName)
{
    if (!IsEntryName(strName)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    return HasName(strName);
}

bool IsVolumePath(const std::string& strGivenVolume)
{
    const std::string strVolume = BeforeZero(strGivenVolume);
    return VESK_ARGUMENT(!strVolume.empty()) && VESK_ARGUMENT('/' == strVolume.front()) &&
           VESK_ARGUMENT('/' != strVolume.back());
}

} // namespace

bool VESKSystemdVolumeRegister(const std::string& strUnit, const std::string& strVolume)
{
    return VESK_ARGUMENT_NAME(strUnit) && VESK_ARGUMENT(IsEntryName(strUnit)) && IsVolumePath(strVolume) &&
           Register(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdVolumeUnregister(const std::string& strUnit, const std::string& strVolume)
{
    return VESK_ARGUMENT_NAME(strUnit) && VESK_ARGUMENT(IsEntryName(strUnit)) && IsVolumePath(strVolume) &&
           Unregister(UnitRegistry(strUnit), strVolume);
}

bool VESKSystemdPackageVolumeRegister(const std::string& strPackage, const std::string& strVolume)
{
    if (!VESK_ARGUMENT_NAME(strPackage) || !VESK_ARGUMENT(IsEntryName(strPackage)) ||
        !IsVolumePath(strVolume)) {
        return false;
    }
    const std::string strDirectory = PackageDirectory(strPackage);
    if (VLIBCFileCheckDir(strDirectory.c_str()) == 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCFileCheckDir on [%s] [0x%04X %s:%d]", VESK_HERE,
                 strDirectory.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    return Register(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdPackageVolumeUnregister(const std::string& strPackage, const std::string& strVolume)
{
    return VESK_ARGUMENT_NAME(strPackage) && VESK_ARGUMENT(IsEntryName(strPackage)) &&
           IsVolumePath(strVolume) && Unregister(PackageRegistry(strPackage), strVolume);
}

bool VESKSystemdVolumeIsRegisteredByUnit(const std::string& strUnit, const Texts& vecVolumes)
{
    return !vecVolumes.empty() && MayBeRegistered(strUnit) &&
           IsAnyRegistered(UnitRegistry(strUnit), vecVolumes);
}

bool VESKSystemdVolumeIsRegisteredByPackage(const std::string& strPackage, const Texts& vecVolumes)
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
