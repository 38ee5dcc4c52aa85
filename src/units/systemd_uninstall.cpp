#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/paths.hpp"
#include "core/text.hpp"

using VESK::Systemd::CForm;
using VESK::Systemd::FailedUnitsCopy;
using VESK::Systemd::GroupForm;
using VESK::Systemd::Joined;
using VESK::Systemd::NormalizedUnitNameGet;
using VESK::Systemd::OneUnitForm;
using VESK::Systemd::Split;
using VESK::Systemd::Texts;
using VESK::Systemd::Trimmed;

namespace
{

/** Runs one step of the uninstall, whose failure is logged and passed over. */
void Step(const char* szStep, const char* szVerb, const Texts& vecOptions, const Texts& vecUnits)
{
    VESKSystemdSystemctl(szVerb, vecOptions, vecUnits, [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            VESK_LOG(LOG_ERR,
                     "%s:%d vesksystemd: [%s] uninstalling, failed to do [%s]: ret=[%d], reason:\n%s",
                     VESK_HERE, Joined(vecUnits).c_str(), szStep, nExitCode, Joined(vecLines, "").c_str());
        }
        return nExitCode == 0;
    });
}

Texts MaskedUnits(const Texts& vecUnits)
{
    Texts vecMasked;
    for (const std::string& strUnit : vecUnits) {
        if (VESKSystemdEnableStatusGet(strUnit) == VESK_SYSTEMD_ENABLE_STATUS_MASKED) {
            vecMasked.push_back(strUnit);
        }
    }
    return vecMasked;
}

/** Stops the units and takes their enable and mask links away. */
void TakeOutOfService(const Texts& vecUnits)
{
    Step("stop", "stop", {}, vecUnits);
    Step("disable", "disable", {"--root=/."}, vecUnits);
    Step("disable runtime", "disable", {"--root=/.", "--runtime"}, vecUnits);
    const Texts vecMasked = MaskedUnits(vecUnits);
    if (!vecMasked.empty()) {
        Step("unmask", "unmask", {"--root=/."}, vecMasked);
        Step("unmask runtime", "unmask", {"--root=/.", "--runtime"}, vecMasked);
    }
}

/** Appends the paths in a line of "show": one for the unit's file, any number for its drop-ins. */
bool PathsAppend(const std::string& strLine, Texts& vecPaths)
{
    const size_t nEqual = strLine.find('=');
    if (nEqual == std::string::npos) {
        return false;
    }
    const std::string strValue = Trimmed(strLine.substr(nEqual + 1));
    Texts vecValues{strValue};
    if (strLine.compare(0, nEqual, "DropInPaths") == 0 && !Split(strValue, vecValues, " ")) {
        return false;
    }
    std::copy_if(vecValues.begin(), vecValues.end(), std::back_inserter(vecPaths),
                 [](const std::string& strPath) { return !strPath.empty(); });
    return true;
}

/** The unit's file and drop-ins, as the manager knows them. */
bool FilesGet(const std::string& strUnit, Texts& vecPaths)
{
    const auto readAnswer = [&](int nExitCode, const Texts& vecLines) {
        const auto append = [&](const std::string& strLine) { return PathsAppend(strLine, vecPaths); };
        return nExitCode == 0 && std::all_of(vecLines.begin(), vecLines.end(), append);
    };
    return VESKSystemdSystemctl("show", {"--property=FragmentPath", "--property=DropInPaths"}, {strUnit},
                                readAnswer);
}

/** Whether the path may be deleted: that of a file or a link, which is not followed, or of nothing any more.
 */
bool IsDeletable(const std::string& strPath)
{
    struct stat status {
    };
    if (strPath.front() != '/') {
        return false;
    }
    if (lstat(strPath.c_str(), &status) != 0) {
        return errno == ENOENT;
    }
    return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
}

bool IsGone(const std::string& strPath)
{
    return unlink(strPath.c_str()) == 0 || errno == ENOENT;
}

/** Removes the folder of a drop-in once nothing is in it any more. */
void RemoveEmptyDropInFolder(const std::string& strDropIn)
{
    const std::string strFolder = strDropIn.substr(0, strDropIn.rfind('/'));
    if (VESK::Systemd::UnitTypeGet(strFolder) == "d") {
        rmdir(strFolder.c_str());
    }
}

/** Deletes the unit's files; none when one of them is not to be deleted. */
bool FilesRemove(const std::string& strUnit)
{
    Texts vecPaths;
    if (!FilesGet(strUnit, vecPaths) || !std::all_of(vecPaths.begin(), vecPaths.end(), IsDeletable)) {
        return false;
    }
    bool blResult = true;
    for (const std::string& strPath : vecPaths) {
        blResult = IsGone(strPath) && blResult;
        RemoveEmptyDropInFolder(strPath);
    }
    return blResult;
}

/** Whether a unit's name is that of an entry in a folder; a path would lead out of the folder. */
bool IsEntryName(const std::string& strName)
{
    return strName.find('/') == std::string::npos;
}

void MarkRemove(const std::string& strUnit)
{
    const std::string strName = NormalizedUnitNameGet(strUnit);
    if (!IsEntryName(strName) || !IsGone(VESK::Systemd::kEnableStatusChangedDirectory + strName)) {
        VESK_LOG(LOG_WARNING, "%s:%d vesksystemd: Failed to remove enable-status-changed flag for [%s]",
                 VESK_HERE, strUnit.c_str());
    }
}

void ReasonsRemove(const std::string& strUnit)
{
    const std::string strName = NormalizedUnitNameGet(strUnit);
    const std::string strFolder = VESK::Systemd::kReasonsDirectory + strName;
    if (!IsEntryName(strName) || VLIBCExec("/bin/rm", "-rf", strFolder.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_WARNING, "%s:%d vesksystemd: Failed to remove reasons for [%s]", VESK_HERE,
                 strUnit.c_str());
    }
}

/** The units whose files could not be removed, each once. */
Texts RemoveFilesOf(const Texts& vecUnits)
{
    Texts vecFailed;
    for (const std::string& strUnit : vecUnits) {
        if (FilesRemove(strUnit)) {
            continue;
        }
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to remove unit and/or drop-in files for [%s]", VESK_HERE,
                 strUnit.c_str());
        if (std::find(vecFailed.begin(), vecFailed.end(), strUnit) == vecFailed.end()) {
            vecFailed.push_back(strUnit);
        }
    }
    return vecFailed;
}

bool Uninstall(const Texts& vecUnits, Texts& vecFailed)
{
    TakeOutOfService(vecUnits);
    VESKSystemdDaemonReload();
    const Texts vecLeft = RemoveFilesOf(vecUnits);
    for (const std::string& strUnit : vecUnits) {
        MarkRemove(strUnit);
        ReasonsRemove(strUnit);
    }
    VESKSystemdDaemonReload();
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] uninstalled.", VESK_HERE, Joined(vecUnits).c_str());
    FailedUnitsCopy(vecLeft, vecFailed);
    return vecLeft.empty();
}

/** So that no unit stays in the failed state, which would keep it known to the manager. */
void ForgetFailures(const Texts& vecUnits)
{
    Texts vecIgnored;
    VESKSystemdResetFailed(vecUnits, vecIgnored);
}

} // namespace

bool VESKSystemdUninstall(const Texts& vecUnits, Texts& vecFailed)
{
    if (!VESK_ARGUMENT(!vecUnits.empty())) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] uninstalling ...", VESK_HERE, Joined(vecUnits).c_str());
    bool blResult = false;
    try {
        blResult = Uninstall(vecUnits, vecFailed);
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, vecFailed);
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] uninstalled failed on exception.", VESK_HERE,
                 Joined(vecFailed).c_str());
        VESKSystemdDaemonReload();
    }
    ForgetFailures(vecUnits);
    return blResult;
}

bool VESKSystemdUninstall(const std::string& strUnit)
{
    return VESK_ARGUMENT(!strUnit.empty()) && OneUnitForm(strUnit, VESKSystemdUninstall);
}

int VESKCSystemdUninstall(const char* szUnit)
{
    return CForm([&] { return VESK_ARGUMENT(nullptr != szUnit) && VESKSystemdUninstall(szUnit); });
}

int VESKCSystemdUninstallGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, VESKSystemdUninstall);
    });
}
