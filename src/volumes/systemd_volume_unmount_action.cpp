#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <new>
#include <set>
#include <unistd.h>
#include <unordered_set>

#include <boost/algorithm/string/join.hpp>

#include "core/c_forms.hpp"
#include "core/error_record_keeper.hpp"
#include "core/lock_release.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/paths.hpp"
#include "core/pause.hpp"
#include "core/text.hpp"
#include "core/unit_section.hpp"
#include "units/systemd_start.hpp"
#include "volumes/mount_path_services.hpp"
#include "volumes/unmount_services.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr const char* kTargetDirectory = "/run/systemd/system";
constexpr const char* kPackageControl = "pkgctl-";
constexpr int kMostTries = 5;

using Services = std::set<std::string>;

bool Acquire(FileLock& lock)
{
    if (lock.Acquire()) {
        return true;
    }
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to get lock [%s]", VESK_HERE, lock.PathGet().c_str());
    return false;
}

/** Whether one of the volumes is registered by the unit, or by the package that the unit controls. */
bool IsRegistered(const std::string& strUnit, const Texts& vecVolumes)
{
    const std::string strPrefix = kPackageControl;
    if (UnitTypeGet(strUnit) != "service" || strUnit.compare(0, strPrefix.size(), strPrefix) != 0) {
        return VESKSystemdVolumeIsRegisteredByUnit(strUnit, vecVolumes);
    }
    const std::string strName = UnitNameWithoutFileExtensionGet(strUnit);
    return VESKSystemdVolumeIsRegisteredByPackage(strName.substr(strPrefix.size()), vecVolumes);
}

} // namespace

std::string VESK::Systemd::MasterUnitGet(const std::string& strUnit)
{
    try {
        const std::string strMaster = XVesklineKeyGet(strUnit, "Master");
        return strMaster.empty() ? strUnit : strMaster;
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to get master unit: [%s], reason: [%s]", VESK_HERE,
                 strUnit.c_str(), error.what());
        return strUnit;
    }
}

bool VESK::Systemd::DependsOnVolumes(const std::string& strUnit, const Texts& vecVolumes)
{
    VESK_SYSTEMD_VOLUME_DEPENDENCY dependency = VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE;
    if (!VESKSystemdVolumeDependencyGet(strUnit, dependency)) {
        if (VLIBCErrGet() != ERR_NO_UNIT_FILE) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to get VolumeDependency in [%s].", VESK_HERE,
                     strUnit.c_str());
        }
        return false;
    }
    switch (dependency) {
    case VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL:
        return true;
    case VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL:
        return IsRegistered(strUnit, vecVolumes);
    case VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE:
        break;
    }
    return false;
}

namespace
{

bool IsRunning(const std::string& strUnit)
{
    switch (VESKSystemdActiveStatusGet(strUnit)) {
    case VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE:
    case VESK_SYSTEMD_ACTIVE_STATUS_ACTIVATING:
    case VESK_SYSTEMD_ACTIVE_STATUS_RELOADING:
        return true;
    default:
        return false;
    }
}

/** Adds the running units that declare a dependency on the volumes. */
bool DependentsAdd(const Texts& vecVolumes, Services& setServices)
{
    Texts vecUnits;
    if (!VESKSystemdListUnits(vecUnits, "")) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to list units.[0x%04X %s:%d]", VESK_HERE,
                 VESK_PLATFORM_ERROR);
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to list volume dependency units.", VESK_HERE);
        return false;
    }
    for (const std::string& strUnit : vecUnits) {
        if (DependsOnVolumes(strUnit, vecVolumes) && IsRunning(strUnit)) {
            setServices.insert(MasterUnitGet(strUnit));
        }
    }
    return true;
}

/** Adds the services that use files on the volumes, as far as they can be found. */
void UsersAdd(const Texts& vecVolumes, Services& setServices)
{
    std::vector<MountPathUsers> vecFound = MountPathScan(vecVolumes);
    for (size_t nVolume = 0; nVolume < vecVolumes.size(); ++nVolume) {
        // What kept the one look from being enough for all may be over.
        if (nVolume != 0 && !vecFound[nVolume].blComplete) {
            vecFound[nVolume] = MountPathScan({vecVolumes[nVolume]}).front();
        }
        std::unordered_set<std::string> setUsers;
        if (!MountPathServicesAdd(vecFound[nVolume], setUsers)) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to list services by mnt path [%s].", VESK_HERE,
                     vecVolumes[nVolume].c_str());
        }
        for (const std::string& strUser : setUsers) {
            setServices.insert(MasterUnitGet(strUser));
        }
    }
}

bool AreVolumes(const Texts& vecVolumes)
{
    return std::all_of(vecVolumes.begin(), vecVolumes.end(),
                       [](const std::string& strVolume) { return VESK_ARGUMENT_NAME(strVolume); });
}

std::string TargetPath(const char* szTarget)
{
    return std::string(kTargetDirectory) + "/" + szTarget;
}

bool TargetRemove(const char* szTarget)
{
    const std::string strPath = TargetPath(szTarget);
    if (unlink(strPath.c_str()) == 0 || errno == ENOENT) {
        return true;
    }
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to remove [%s].", VESK_HERE, strPath.c_str());
    return false;
}

/** Writes a target that has this relation to the services, and comes after them. */
bool TargetWrite(const char* szTarget, const char* szRelation, const Services& setServices)
{
    const std::string strServices = boost::algorithm::join(setServices, " ");
    const UnitSection section =
        UnitSectionWrite(kTargetDirectory, szTarget, "Unit",
                         {{szRelation, strServices}, {"After", strServices}, {"DefaultDependencies", "no"}});
    if (section == UnitSection::Written) {
        return true;
    }
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to add unit section in [%s].", VESK_HERE,
             TargetPath(szTarget).c_str());
    return false;
}

/** Makes the targets of which the first stops the services and the second starts them. */
bool TargetsMake(const Services& setServices)
{
    return TargetRemove(kUnmountBeginTarget) && TargetRemove(kUnmountEndTarget) &&
           TargetWrite(kUnmountBeginTarget, "Conflicts", setServices) &&
           TargetWrite(kUnmountEndTarget, "Wants", setServices) && VESKSystemdDaemonReload();
}

/** Starts the services once. The error record stays as it is but for a start that was not run. */
ActionEnd EndTargetTry()
{
    ErrorRecordKeeper keeper;
    Texts vecFailed;
    const ActionEnd end = StartTry({}, {kUnmountEndTarget}, vecFailed);
    if (end == ActionEnd::NotRun) {
        keeper.Forget();
    }
    return end;
}

/** Starts the services again. What keeps systemctl from being run, as a lack of memory, may soon be over. */
bool ServicesStart()
{
    ActionEnd end = ActionEnd::NotRun;
    for (int nTries = 0; end == ActionEnd::NotRun && nTries < kMostTries; ++nTries) {
        if (nTries != 0) {
            PauseSecond();
        }
        try {
            end = EndTargetTry();
        } catch (const std::bad_alloc&) {
            end = ActionEnd::NotRun;
        }
    }
    return end == ActionEnd::Done;
}

/** Runs the action while the services are stopped, and starts them again whatever comes of it. */
bool StopRunStart(const std::function<bool()>& action)
{
    bool blResult = false;
    try {
        blResult = VESKSystemdStartIrreversibly(kUnmountBeginTarget) && action();
    } catch (...) {
        ServicesStart();
        throw;
    }
    const bool blStarted = ServicesStart();
    return blResult && blStarted;
}

} // namespace

bool _VESKSystemdVolumeUnmountAction(const Texts& vecGivenVolumes, std::function<bool()>&& action)
{
    const Texts vecVolumes = NamesGet(vecGivenVolumes);
    if (!VESK_ARGUMENT(!vecVolumes.empty()) || !AreVolumes(vecVolumes)) {
        return false;
    }
    FileLock actionLock(kUnmountActionLock, true, 3600);
    FileLock isolateLock(kIsolateLock, false, 3600);
    const LockRelease actionRelease(actionLock);
    const LockRelease isolateRelease(isolateLock);
    if (!Acquire(actionLock) || !Acquire(isolateLock)) {
        return false;
    }
    StatusMonitor monitor;
    if (!monitor.Start()) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to monitor systemd status in volume unmount action", VESK_HERE);
        return false;
    }
    Services setServices;
    if (!DependentsAdd(vecVolumes, setServices)) {
        return false;
    }
    UsersAdd(vecVolumes, setServices);
    if (setServices.empty()) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: we will not stop any service for umounting: [%s]", VESK_HERE,
                 Joined(vecVolumes).c_str());
        return action();
    }
    if (!TargetsMake(setServices)) {
        return false;
    }
    VESK_LOG(LOG_INFO,
             "%s:%d vesksystemd: the following service will temporarily stop for volume unmounting: [%s][%s]",
             VESK_HERE, Joined(vecVolumes).c_str(), boost::algorithm::join(setServices, ", ").c_str());
    return StopRunStart(action);
}

int VESKCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void*), void* pArg)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szVolume) && VESK_ARGUMENT(nullptr != action) &&
               VESKSystemdVolumeUnmountAction(Texts{szVolume}, action, pArg);
    });
}

int VESKCSystemdVolumeGroupUnmountAction(VLIBCSzList* pListVolumes, bool (*action)(void*), void* pArg)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListVolumes) && VESK_ARGUMENT(nullptr != action) &&
               VESKSystemdVolumeUnmountAction(ListGet(pListVolumes), action, pArg);
    });
}
