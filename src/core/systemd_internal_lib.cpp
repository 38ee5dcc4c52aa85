#include "vesksystemd.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include "core/directory.hpp"
#include "core/error_record_keeper.hpp"
#include "core/job_row.hpp"
#include "core/key_table.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/paths.hpp"
#include "core/pattern.hpp"
#include "core/reason_folder.hpp"
#include "core/text.hpp"
#include "core/unit_names.hpp"
#include "core/unit_section.hpp"

using namespace VESK::Systemd;

namespace VESK::Systemd
{
namespace
{

constexpr std::array<const char*, 4> kUnitDirectories{
    "/usr/local/lib/systemd/system/",
    "/usr/lib/systemd/system/",
    "/etc/systemd/system/",
    "/run/systemd/system/",
};

constexpr const char* kXVeskline = "X-Veskline";

/**
 * What systemctl says of a unit that failed; group 1 is the unit. Made when the library is loaded: some C libraries
 * free twice when memory ends while they make one, and then is when units fail.
 */
const std::array<Pattern, 4> kFailurePatterns{
    Pattern("Failed to [^:]+ ([^: ]+)"),
    Pattern("Job for (.+) failed."),
    Pattern("Job for (.+) canceled."),
    Pattern("A dependency job for (.+) failed."),
};

std::optional<std::string> FirstGroup(const Pattern& pattern, const std::string& strLine)
{
    if (pattern.Error() != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: regcomp(): %s", VESK_HERE,
                 pattern.ErrorText(pattern.Error()).data());
        return std::nullopt;
    }
    std::array<regmatch_t, 2> matches{};
    const int nResult = pattern.Execute(strLine, matches);
    if (nResult == REG_NOMATCH) {
        return std::nullopt;
    }
    if (nResult != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: regexec(): %s", VESK_HERE, pattern.ErrorText(nResult).data());
        return std::nullopt;
    }
    const regmatch_t& group = matches[1];
    if (group.rm_so == -1 || group.rm_eo == -1) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Wrong pattern without parenthesis.", VESK_HERE);
        return std::nullopt;
    }
    return strLine.substr(static_cast<size_t>(group.rm_so), static_cast<size_t>(group.rm_eo - group.rm_so));
}

std::optional<std::string> FailedUnitIn(const std::string& strLine)
{
    for (const Pattern& pattern : kFailurePatterns) {
        if (auto unit = FirstGroup(pattern, strLine)) {
            return unit;
        }
    }
    return std::nullopt;
}

Texts DisplayNamesGet(const Texts& vecUnits)
{
    Texts vecNames;
    for (const std::string& strUnit : vecUnits) {
        std::string strName;
        if (VESKSystemdNameGet(strUnit, strName)) {
            vecNames.push_back(strName);
        }
    }
    return vecNames;
}

void LogEvent(int nCode, const Texts& vecUnits)
{
    const Texts vecNames = DisplayNamesGet(vecUnits);
    if (vecNames.empty()) {
        return;
    }
    const std::string strNames = Joined(vecNames);
    std::array<char, 16> code{};
    snprintf(code.data(), code.size(), "%04x", static_cast<unsigned int>(nCode));
    if (VLIBCExec("/usr/vesk/bin/vesklogset", "vesksystemd", code.data(), strNames.c_str(), nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to write vesklog for units: %s", VESK_HERE,
                 strNames.c_str());
    }
}

std::string EnableStatusChangedMark(const std::string& strName)
{
    return kEnableStatusChangedDirectory + NormalizedUnitNameGet(strName);
}

/** What is between the delimiters; pieces may be empty. */
Texts PiecesOf(const std::string& strText, const std::string& strDelimiters)
{
    Texts vecPieces;
    size_t nBegin = 0;
    for (size_t nEnd = 0; nEnd != std::string::npos; nBegin = nEnd + 1) {
        nEnd = strText.find_first_of(strDelimiters, nBegin);
        vecPieces.push_back(strText.substr(nBegin, nEnd - nBegin));
    }
    return vecPieces;
}

uint32_t JobIdOf(const std::string& strField)
{
    try {
        return static_cast<uint32_t>(std::stoul(strField));
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Bad job ID: [%s]", VESK_HERE, strField.c_str());
        return 0;
    }
}

/** Removes one reason of one service; one that is not there counts as removed. */
bool ReasonUnlink(const std::string& strReason, const std::string& strService)
{
    if (!IsEntryName(strReason) || !MayHaveReasons(strService)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    const std::string strFile = ReasonFolder(strService) + "/" + BeforeZero(strReason);
    if (unlink(strFile.c_str()) == 0 || errno == ENOENT) {
        return true;
    }
    const int nError = errno;
    VLIBCErrSetEx(ERR_REMOVE_REASON, VESK_HERE);
    errno = nError;
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: failed to unlink reason file [%s] (%m)", VESK_HERE,
             strFile.c_str());
    return false;
}

} // namespace

std::string UnitPathGet(const std::string& strName)
{
    const std::string strUnit = NormalizedUnitNameGet(strName);
    for (const char* szDirectory : kUnitDirectories) {
        std::string strPath = szDirectory + strUnit;
        if (access(strPath.c_str(), F_OK) == 0) {
            return strPath;
        }
    }
    VLIBCErrSetEx(ERR_NO_UNIT_FILE, VESK_HERE);
    throw std::runtime_error("Unit is not found [" + BeforeZero(strName) + "]");
}

void SetEnableStatusChanged(const std::string& strName)
{
    if (!IsEntryName(strName)) {
        VESK_LOG(LOG_WARNING, "%s:%d vesksystemd: Failed to set enable-status-changed flag for [%s]",
                 VESK_HERE, strName.c_str());
        return;
    }
    const std::string strMark = EnableStatusChangedMark(strName);
    if (VLIBCExec("/bin/mkdir", "-p", kEnableStatusChangedDirectory, nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to mkdir -p [%s] [0x%04X %s:%d]", VESK_HERE,
                 kEnableStatusChangedDirectory, VESK_PLATFORM_ERROR);
        return;
    }
    if (VLIBCFileTouch(strMark.c_str()) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to touch [%s] [0x%04X %s:%d]", VESK_HERE,
                 strMark.c_str(), VESK_PLATFORM_ERROR);
    }
}

bool IsEnableStatusChanged(const std::string& strName)
{
    return IsEntryName(strName) && VLIBCFileExist(EnableStatusChangedMark(strName).c_str()) != 0;
}

bool Split(const std::string& strText, Texts& vecOut, const std::string& strDelimiters)
{
    try {
        const std::string strTrimmed = Trimmed(strText);
        if (!strTrimmed.empty()) {
            PiecesOf(strTrimmed, strDelimiters).swap(vecOut);
        }
        return true;
    } catch (...) {
        VLIBCErrSetEx(ERR_UNEXPECTED, VESK_HERE);
        return false;
    }
}

void FailedUnitsGet(const Texts& vecUnits, const Texts& vecLines, Texts& vecFailed)
{
    std::map<std::string, std::string> mapCallersNames;
    for (const std::string& strUnit : vecUnits) {
        mapCallersNames[NormalizedUnitNameGet(strUnit)] = BeforeZero(strUnit);
    }
    for (const std::string& strLine : vecLines) {
        const std::optional<std::string> failed = FailedUnitIn(strLine);
        if (!failed) {
            continue;
        }
        const auto it = mapCallersNames.find(*failed);
        if (it == mapCallersNames.end()) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: unexpected failed unit [%s].", VESK_HERE, failed->c_str());
            continue;
        }
        vecFailed.push_back(it->second);
    }
}

void FailedUnitsCopy(const Texts& vecUnits, Texts& vecFailed)
{
    // By index and with the size at the start: both may be one list.
    for (size_t i = 0, cUnits = vecUnits.size(); i < cUnits; ++i) {
        vecFailed.push_back(vecUnits[i]);
    }
}

bool JobInfoParse(const std::string& strLine, JobInfo& info)
{
    try {
        return JobRowRead(strLine, info);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool JobRowRead(const std::string& strLine, JobInfo& info)
{
    Texts vecFields = Pieces(strLine, " ");
    if (vecFields.size() != 4) {
        return false;
    }
    info.id = JobIdOf(vecFields[0]);
    info.unit = std::move(vecFields[1]);
    info.type = JobType::Unknown;
    info.state = JobState::Unknown;
    JobStringMap::StringToType(vecFields[2], info.type);
    JobStringMap::StringToState(vecFields[3], info.state);
    return true;
}

std::string JobInfo::ToString() const
{
    std::string strType;
    std::string strState;
    if (!JobStringMap::TypeToString(type, strType) || !JobStringMap::StateToString(state, strState)) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to convert to string", VESK_HERE);
        return {};
    }
    // Neither with a stream, which goes on without the number when memory ends, nor with the locale's digits.
    return std::to_string(id) + " " + unit + " " + strType + " " + strState;
}

std::string UnitSectionKeyGet(const std::string& strUnit, const std::string& strSection,
                              const std::string& strKey)
{
    const std::string strPath = UnitPathGet(strUnit);
    std::array<char, 1024> value{};
    if (VLIBCFileGetSectionValue(strPath.c_str(), strSection.c_str(), strKey.c_str(), value.data(),
                                 static_cast<int>(value.size())) != 0) {
        return {};
    }
    return value.data();
}

std::string XVesklineKeyGet(const std::string& strUnit, const std::string& strKey)
{
    return UnitSectionKeyGet(TemplateNameGet(strUnit), kXVeskline, strKey);
}

UnitSection UnitSectionWrite(const std::string& strDirectory, const std::string& strFile,
                             const std::string& strSection,
                             const std::map<std::string, std::string>& mapKeyValues)
{
    KeyTable table;
    if (table.Get() == nullptr) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCSzHashAlloc [0x%04X %s:%d]", VESK_HERE,
                 VESK_PLATFORM_ERROR);
        return UnitSection::NotWritten;
    }
    if (VLIBCExec("/bin/mkdir", "-p", strDirectory.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to mkdir [%s] [0x%04X %s:%d]", VESK_HERE,
                 strDirectory.c_str(), VESK_PLATFORM_ERROR);
        return UnitSection::NotWritten;
    }
    const std::string strPath = BeforeZero(strDirectory) + "/" + strFile;
    UnitSection section = UnitSection::Written;
    for (const auto& [strKey, strValue] : mapKeyValues) {
        if (!table.Set(strKey, strValue)) {
            section = UnitSection::LacksKeys;
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCSzHashSetValue to [%s] [0x%04X %s:%d]",
                     VESK_HERE, strPath.c_str(), VESK_PLATFORM_ERROR);
        }
    }
    if (VLIBCFileAddSection(strPath.c_str(), strSection.c_str(), table.Get(), 0) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to VLIBCFileSetSection to [%s] [0x%04X %s:%d]", VESK_HERE,
                 strPath.c_str(), VESK_PLATFORM_ERROR);
        return UnitSection::NotWritten;
    }
    return section;
}

bool AddUnitSection(const std::string& strDirectory, const std::string& strFile,
                    const std::string& strSection, const std::map<std::string, std::string>& mapKeyValues)
{
    return UnitSectionWrite(strDirectory, strFile, strSection, mapKeyValues) != UnitSection::NotWritten;
}

bool UnlinkReasons(const std::string& strReason, const Texts& vecServices, Texts& vecCleared,
                   Texts& vecFailed)
{
    bool blResult = true;
    for (const std::string& strService : NamesGet(vecServices)) {
        if (ReasonUnlink(strReason, strService)) {
            vecCleared.push_back(strService);
        } else {
            vecFailed.push_back(strService);
            blResult = false;
        }
    }
    return blResult;
}

bool CheckServiceHasReason(const std::string& strService)
{
    if (!IsEntryName(strService)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    // A reason whose name begins with a dot does not count, and a folder of which it is not known what is in it
    // reads as a reason.
    Texts vecReasons;
    return LeavesEntriesOpen(VisibleEntriesAppend(ReasonFolder(strService), vecReasons)) ||
           !vecReasons.empty();
}

bool ListServicesWithReason(Texts& vecServices)
{
    Directory directory(kReasonsDirectory);
    Texts vecFound;
    while (const char* szEntry = directory.Next()) {
        if (UnitTypeGet(szEntry) == "service" && CheckServiceHasReason(szEntry)) {
            vecFound.emplace_back(szEntry);
        }
    }
    if (directory.Error() != 0 && directory.Error() != ENOENT) {
        VLIBCErrSetEx(ERR_OPEN_DIRECTORY, VESK_HERE);
        return false;
    }
    vecServices.insert(vecServices.end(), vecFound.begin(), vecFound.end());
    return true;
}

bool LinkVeskReason(const std::string& strDirectory, const std::string& strSource)
{
    if (VLIBCExec("/bin/mkdir", "-p", strDirectory.c_str(), nullptr, nullptr) < 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to mkdir [%s] [0x%04X %s:%d]", VESK_HERE,
                 strDirectory.c_str(), VESK_PLATFORM_ERROR);
        return false;
    }
    const std::string strLink = BeforeZero(strDirectory) + "vesk-reason.conf";
    if (link(strSource.c_str(), strLink.c_str()) != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Fail to create link from [%s] to [%s] (%m).", VESK_HERE,
                 strLink.c_str(), strSource.c_str());
        return false;
    }
    return true;
}

} // namespace VESK::Systemd

void VESKSystemdLogAction(int nAction, bool blSuccess, const Texts& vecUnits, const Texts& vecFailed)
{
    // A unit without a file or an event log that fails is not why the action failed.
    const ErrorRecordKeeper keeper;
    Texts vecSucceeded;
    for (const std::string& strUnit : vecUnits) {
        if (blSuccess || std::find(vecFailed.begin(), vecFailed.end(), strUnit) == vecFailed.end()) {
            vecSucceeded.push_back(strUnit);
        }
    }
    LogEvent(nAction, vecSucceeded);
    LogEvent(nAction | 0x10, vecFailed);
}
