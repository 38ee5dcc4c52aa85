#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/paths.hpp"
#include "core/reason_folder.hpp"
#include "core/systemctl.hpp"
#include "core/systemctl_dialect.hpp"
#include "core/text.hpp"
#include "units/unit_uninstall.hpp"

using namespace VESK::Systemd;

namespace
{

using Paths = std::set<std::string>;

/** Runs one step of the uninstall, whose failure is logged and passed over. */
void Step(const char* szStep, const char* szVerb, const Texts& vecOptions, const Texts& vecUnits)
{
    const Answer answer = AskOrThrow({szVerb, vecOptions, vecUnits});
    if (answer.nExitCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] uninstalling, failed to do [%s]: ret=[%d], reason:\n%s",
                 VESK_HERE, Joined(vecUnits).c_str(), szStep, answer.nExitCode,
                 Joined(answer.vecLines, "").c_str());
    }
}

void Disable(const Texts& vecUnits)
{
    Step("disable", "disable", {"--root=/."}, vecUnits);
    Step("disable runtime", "disable", {"--root=/.", "--runtime"}, vecUnits);
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
    Disable(vecUnits);
    const Texts vecMasked = MaskedUnits(vecUnits);
    if (!vecMasked.empty()) {
        Step("unmask", "unmask", {"--root=/."}, vecMasked);
        Step("unmask runtime", "unmask", {"--root=/.", "--runtime"}, vecMasked);
        if (DisablePassesOverMasked()) {
            Disable(vecMasked);
        }
    }
}

/**
 * Splits a list as systemctl prints it: separated by blanks, an item with unusual characters quoted as for a
 * shell. False when a quote does not end.
 */
bool ListSplit(const std::string& strList, Texts& vecItems)
{
    std::string strItem;
    bool blQuoted = false;
    for (size_t i = 0; i < strList.size(); ++i) {
        if (strList[i] == '"' && (blQuoted || strItem.empty())) {
            blQuoted = !blQuoted;
        } else if (strList[i] == '\\' && blQuoted && i + 1 < strList.size()) {
            strItem += strList[++i];
        } else if (strList[i] == ' ' && !blQuoted) {
            vecItems.push_back(std::exchange(strItem, {}));
        } else {
            strItem += strList[i];
        }
    }
    vecItems.push_back(strItem);
    vecItems.erase(std::remove(vecItems.begin(), vecItems.end(), ""), vecItems.end());
    return !blQuoted;
}

/** Takes the paths from a line of "show"; false for one that is about anything else. */
bool PathsTake(const std::string& strLine, UnitPaths& paths)
{
    const size_t nEqual = strLine.find('=');
    if (nEqual == std::string::npos) {
        return false;
    }
    const std::string strProperty = strLine.substr(0, nEqual);
    const std::string strValue = Trimmed(strLine.substr(nEqual + 1));
    if (strProperty == "FragmentPath") {
        paths.vecUnitFiles.assign(strValue.empty() ? 0 : 1, strValue);
        return true;
    }
    return strProperty == "DropInPaths" && ListSplit(strValue, paths.vecDropIns);
}

} // namespace

bool VESK::Systemd::UnitPathsGet(const std::string& strUnit, UnitPaths& paths)
{
    const Answer answer =
        AskOrThrow({"show", {"--property=FragmentPath", "--property=DropInPaths"}, {strUnit}});
    const auto take = [&](const std::string& strLine) { return PathsTake(strLine, paths); };
    return answer.nExitCode == 0 && std::all_of(answer.vecLines.begin(), answer.vecLines.end(), take);
}

namespace
{

/** Takes those paths away that are to be kept. */
void Except(const Paths& setKept, Texts& vecPaths)
{
    const auto isKept = [&](const std::string& strPath) { return setKept.count(strPath) != 0; };
    vecPaths.erase(std::remove_if(vecPaths.begin(), vecPaths.end(), isKept), vecPaths.end());
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

bool AreDeletable(const Texts& vecPaths)
{
    return std::all_of(vecPaths.begin(), vecPaths.end(), IsDeletable);
}

/** Deletes the file or link; true when it is not there any more. */
bool Delete(const std::string& strPath)
{
    return unlink(strPath.c_str()) == 0 || errno == ENOENT;
}

/** Deletes the drop-in, and its folder once nothing is in it any more. */
bool DropInDelete(const std::string& strPath)
{
    const bool blResult = Delete(strPath);
    const std::string strFolder = strPath.substr(0, strPath.rfind('/'));
    if (UnitTypeGet(strFolder) == "d") {
        rmdir(strFolder.c_str());
    }
    return blResult;
}

/** Deletes the unit's files but those that are kept; none when one of them is not to be deleted. */
bool FilesRemove(const std::string& strUnit, const Paths& setKept)
{
    UnitPaths paths;
    if (!UnitPathsGet(strUnit, paths)) {
        return false;
    }
    Except(setKept, paths.vecUnitFiles);
    Except(setKept, paths.vecDropIns);
    if (!AreDeletable(paths.vecUnitFiles) || !AreDeletable(paths.vecDropIns)) {
        return false;
    }
    const auto nLeft =
        std::count_if(paths.vecUnitFiles.begin(), paths.vecUnitFiles.end(), std::not_fn(Delete)) +
        std::count_if(paths.vecDropIns.begin(), paths.vecDropIns.end(), std::not_fn(DropInDelete));
    return nLeft == 0;
}

void MarkRemove(const std::string& strUnit)
{
    if (!IsEntryName(strUnit) || !Delete(kEnableStatusChangedDirectory + NormalizedUnitNameGet(strUnit))) {
        VESK_LOG(LOG_WARNING, "%s:%d vesksystemd: Failed to remove enable-status-changed flag for [%s]",
                 VESK_HERE, strUnit.c_str());
    }
}

void ReasonsRemove(const std::string& strUnit)
{
    const std::string strFolder = ReasonFolder(strUnit);
    if (!IsEntryName(strUnit) || VLIBCExec("/bin/rm", "-rf", strFolder.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_WARNING, "%s:%d vesksystemd: Failed to remove reasons for [%s]", VESK_HERE,
                 strUnit.c_str());
    }
}

/** The units whose files could not be removed, each once. */
Texts RemoveFilesOf(const Texts& vecUnits, const Paths& setKept)
{
    Texts vecFailed;
    for (const std::string& strUnit : vecUnits) {
        if (FilesRemove(strUnit, setKept)) {
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

bool Uninstall(const Texts& vecUnits, const Paths& setKept, Texts& vecFailed)
{
    TakeOutOfService(vecUnits);
    VESKSystemdDaemonReload();
    const Texts vecLeft = RemoveFilesOf(vecUnits, setKept);
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

bool VESK::Systemd::UninstallExcept(const Paths& setKept, const Texts& vecGivenUnits, Texts& vecFailed)
{
    const Texts vecUnits = NamesGet(vecGivenUnits);
    if (!VESK_ARGUMENT(!vecUnits.empty())) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] uninstalling ...", VESK_HERE, Joined(vecUnits).c_str());
    bool blResult = false;
    try {
        blResult = Uninstall(vecUnits, setKept, vecFailed);
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, vecFailed);
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] uninstalled failed on exception.", VESK_HERE,
                 Joined(vecFailed).c_str());
        VESKSystemdDaemonReload();
    }
    ForgetFailures(vecUnits);
    return blResult;
}

bool VESKSystemdUninstall(const Texts& vecUnits, Texts& vecFailed)
{
    return UninstallExcept({}, vecUnits, vecFailed);
}

bool VESKSystemdUninstall(const std::string& strUnit)
{
    return OneUnitForm(VESK_HERE, strUnit, VESKSystemdUninstall);
}

int VESKCSystemdUninstall(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdUninstall);
}

int VESKCSystemdUninstallGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed)
{
    return CGroupForm(VESK_HERE, pListUnits, ppListFailed, VESKSystemdUninstall);
}
