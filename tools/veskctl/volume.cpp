#include <algorithm>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "core/directory.hpp"
#include "core/paths.hpp"
#include "mount_table.hpp"
#include "output.hpp"
#include "unit_state.hpp"
#include "volume_holders.hpp"
#include "volume_plan.hpp"
#include "volume_recover.hpp"
#include "volume_unmount.hpp"
#include "volumes/registry_file.hpp"
#include "volumes/volume_array.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

using Change = bool (*)(const std::string&, const std::string&);

/** The paths without slashes at their ends; a registered volume need not be mounted. */
Texts Named(const Texts& vecGiven)
{
    Texts vecVolumes;
    for (std::string strVolume : vecGiven) {
        while (strVolume.size() > 1 && strVolume.back() == '/') {
            strVolume.pop_back();
        }
        vecVolumes.push_back(strVolume);
    }
    return vecVolumes;
}

bool AreAbsolute(const Texts& vecVolumes)
{
    return std::all_of(vecVolumes.begin(), vecVolumes.end(), [](const std::string& strVolume) {
        const bool blAbsolute = strVolume.front() == '/';
        if (!blAbsolute) {
            Complain(strVolume, "a volume is named by its mount path, which begins with /");
        }
        return blAbsolute;
    });
}

Exit ChangeRun(const Call& call, Change unit, Change package, const std::string& strDone)
{
    const Texts vecVolumes = Named(call.vecOperands);
    if (call.Has("unit") == call.Has("package")) {
        Complain("say whose volumes they are: either --unit UNIT or --package PACKAGE");
        return Exit::WrongUse;
    }
    if (!AreAbsolute(vecVolumes)) {
        return Exit::WrongUse;
    }
    const std::string strOwner = call.Has("unit") ? call.Value("unit") : call.Value("package");
    const std::string strWhat = strDone + " " + strOwner;
    Exit result = Exit::Done;
    for (const std::string& strVolume : vecVolumes) {
        if ((call.Has("unit") ? unit : package)(strOwner, strVolume)) {
            Say(strVolume, strWhat);
        } else {
            Complain(strVolume, "could not be " + strWhat + "; the system log tells why");
            result = Exit::Failed;
        }
    }
    return result;
}

struct Registered {
    const char* szKind;
    std::string strOwner;
    std::string strVolume;
};

void VolumesAdd(const char* szKind, const std::string& strOwner, const std::string& strPath,
                std::vector<Registered>& vecRegistered)
{
    std::string strText;
    VolumeElements vecElements;
    const RegistryFile file = RegistryFileRead(strPath, strText);
    if (file == RegistryFile::Missing) {
        return;
    }
    if (file == RegistryFile::Unreadable || VolumeArrayParse(strText, vecElements) != VolumeArray::Read) {
        Complain(strPath + ": cannot be read, or is no JSON array");
        return;
    }
    for (const VolumeElement& element : vecElements) {
        if (element.blString) {
            vecRegistered.push_back({szKind, strOwner, element.strVolume});
        }
    }
}

std::vector<Registered> RegisteredGet()
{
    std::vector<Registered> vecRegistered;
    Texts vecUnits;
    VisibleEntriesAppend(kVolumeRegisterDirectory, vecUnits);
    std::sort(vecUnits.begin(), vecUnits.end());
    for (const std::string& strUnit : vecUnits) {
        VolumesAdd("unit", strUnit, kVolumeRegisterDirectory + strUnit, vecRegistered);
    }
    Texts vecPackages;
    VisibleEntriesAppend(kPackagesDirectory, vecPackages);
    std::sort(vecPackages.begin(), vecPackages.end());
    for (const std::string& strPackage : vecPackages) {
        VolumesAdd("package", strPackage, kPackagesDirectory + strPackage + kPackageRegisterFile,
                   vecRegistered);
    }
    return vecRegistered;
}

Exit RegisteredRun(const Call& call)
{
    const Texts vecVolumes = Named(call.vecOperands);
    Json::Value list(Json::arrayValue);
    Table table({"VOLUME", "REGISTERED BY", "KIND"});
    for (const Registered& registered : RegisteredGet()) {
        if (!vecVolumes.empty() &&
            std::count(vecVolumes.begin(), vecVolumes.end(), registered.strVolume) == 0) {
            continue;
        }
        Json::Value value;
        value["volume"] = registered.strVolume;
        value["registeredBy"] = registered.strOwner;
        value["kind"] = registered.szKind;
        list.append(value);
        table.Row({registered.strVolume, registered.strOwner, registered.szKind});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

Exit UsersRun(const Call& call)
{
    Texts vecVolumes;
    const Exit resolved = VolumesResolve(call.vecOperands, call.Has("force"), vecVolumes);
    if (resolved != Exit::Done) {
        return resolved;
    }
    if (geteuid() != 0) {
        Complain("only root sees the processes of all users; run it with sudo");
    }
    const Holders vecHolders = HoldersGet(vecVolumes);
    call.Has("json") ? PrintJson(HoldersJson(vecHolders)) : HoldersPrint(vecHolders);
    return Exit::Done;
}

Exit DependentsRun(const Call& call)
{
    Json::Value list(Json::arrayValue);
    Table table({"UNIT", "DEPENDS ON", "ACTIVE", "STOPPED AS"});
    for (const Dependent& dependent : DependentsGet(Named(call.vecOperands))) {
        Json::Value value;
        value["unit"] = dependent.strUnit;
        value["dependsOn"] = dependent.blAll ? "all volumes" : "registered volumes";
        value["active"] = dependent.strActive;
        value["stoppedAs"] = dependent.strMaster;
        list.append(value);
        table.Row({dependent.strUnit, value["dependsOn"].asString(), StateCell(dependent.strActive),
                   dependent.strMaster});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

Verb RegisterVerb(const char* szName, const char* szSummary, Change unit, Change package, const char* szDone)
{
    return {szName,
            szSummary,
            {{"VOLUME", Kind::Volume, false, true}},
            {{"unit", "the unit whose volumes they are", "UNIT", Kind::Unit},
             {"package", "the package whose volumes they are", "PACKAGE"}},
            [=](const Call& call) { return ChangeRun(call, unit, package, szDone); },
            "",
            Tail::None,
            For::Root};
}

} // namespace

Group VolumeGroup()
{
    const Operand volumes{"VOLUME", Kind::Volume, false, true};
    return {"volume",
            "See who uses volumes, and unmount them",
            {
                {"volume users",
                 "show who holds volumes, and how",
                 {volumes},
                 {{"force", "also for a path that is no mount point"}, JsonOption()},
                 UsersRun,
                 "Shows services, and also what holds a volume without being one: a shell, a scope, a mount, "
                 "a loop "
                 "device or swap below it. What an unmount action does not stop is marked. A deleted file is "
                 "held as "
                 "long as it is open."},
                {"volume dependents",
                 "show the units that declare a dependency on volumes",
                 {volumes},
                 {JsonOption()},
                 DependentsRun},
                RegisterVerb("volume register", "register volumes as used by a unit or package",
                             VESKSystemdVolumeRegister, VESKSystemdPackageVolumeRegister, "registered for"),
                RegisterVerb("volume unregister", "take registered volumes from a unit or package",
                             VESKSystemdVolumeUnregister, VESKSystemdPackageVolumeUnregister,
                             "unregistered from"),
                {"volume registered",
                 "show by which units and packages volumes are registered",
                 {{"VOLUME", Kind::Volume, true, true}},
                 {JsonOption()},
                 RegisteredRun},
                UnmountVerb(),
                RecoverVerb(),
            }};
}

} // namespace Veskctl
