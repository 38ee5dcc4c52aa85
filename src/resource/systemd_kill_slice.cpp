#include "vesksystemd.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "core/file_system.hpp"
#include "core/file_text.hpp"
#include "core/log.hpp"
#include "core/pause.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"
#include "core/unique_fd.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/cgroup_walk.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr unsigned long kDefaultGraceSeconds = 10;
constexpr unsigned long kMostGraceSeconds = 86400;

/** Whether a path stays below the folder that it starts from; all others hold what is not in the slice. */
bool IsBelow(const std::string& strPath)
{
    const auto path = std::filesystem::path(strPath).lexically_normal();
    return path.is_relative() && !path.empty() && path != "." && *path.begin() != "..";
}

/**
 * Whether a file holds anything. What is not there, or goes meanwhile as a cgroup does, holds nothing; nor does
 * a group of threads, whose processes are held by one above it.
 */
bool HoldsText(const std::string& strPath)
{
    const UniqueFd fd(open(strPath.c_str(), O_RDONLY | O_CLOEXEC));
    char cFirst = 0;
    const ssize_t cbRead = fd.IsOpen() ? ReadSome(fd.Get(), &cFirst, sizeof cFirst) : -1;
    if (cbRead < 0 && !IsNoGroup(errno) && errno != EOPNOTSUPP) {
        throw std::system_error(errno, std::generic_category(), strPath);
    }
    return cbRead > 0;
}

/** What cannot be looked at is taken to be alive. */
bool HoldsProcess(const std::string& strFolder)
{
    try {
        return HoldsText(strFolder + "/cgroup.procs");
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to check cgruop procs: [%s]", VESK_HERE, error.what());
    } catch (...) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to check cgruop procs", VESK_HERE);
    }
    return true;
}

/** Whether a slice holds processes; finds the units in it that do. What cannot be searched may hold some. */
bool IsLive(const std::string& strSlice, Texts& vecUnits)
{
    const std::string strFolder = CgroupSliceFolder(SystemdTree(), strSlice);
    bool blLive = false;
    vecUnits.clear();
    const bool blSearched = CgroupsBelow(strFolder, [&](const std::string& strGroup) {
        if (HoldsProcess(strGroup)) {
            blLive = true;
            CgroupUnitAdd(strGroup.substr(strFolder.size()), vecUnits);
        }
    });
    return !blSearched || blLive || HoldsProcess(strFolder);
}

void StopUnits(const std::string& strSlice, const Texts& vecUnits)
{
    if (vecUnits.empty()) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: There is no units in [%s], skip stop units", VESK_HERE,
                 strSlice.c_str());
        return;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: The following units will be stopped: [%s]", VESK_HERE,
             Joined(vecUnits).c_str());
    Texts vecFailed;
    if (!VESKSystemdStop(vecUnits, vecFailed)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] killing failed in service stop phase.", VESK_HERE,
                 strSlice.c_str());
    }
}

bool SendSignal(const std::string& strSlice, const Texts& vecOptions)
{
    return AskAndJudge(
        [&] {
            return Request{"kill", vecOptions, {strSlice}, true};
        },
        [](const Answer& answer) { return answer.IsSuccess(); });
}

/** Reads a number of seconds; what has a sign, or is longer than a day, is none. */
unsigned long SecondsParse(const std::string& strSeconds)
{
    const unsigned long ulSeconds = std::stoul(strSeconds);
    if (ulSeconds > kMostGraceSeconds ||
        strSeconds.find_first_of("+-") < strSeconds.find_first_of("0123456789")) {
        throw std::out_of_range("stoul");
    }
    return ulSeconds;
}

unsigned long GraceSecondsGet(const std::string& strSlice)
{
    try {
        const std::string strSeconds = XVesklineKeyGet(strSlice, "SliceKillTimeoutSec");
        return strSeconds.empty() ? kDefaultGraceSeconds : SecondsParse(strSeconds);
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to get SliceKillTimeoutSec: [%s]", VESK_HERE,
                 error.what());
    } catch (...) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to get slice kill timeout", VESK_HERE);
    }
    return kDefaultGraceSeconds;
}

/** Waits until the slice holds no process any more; false when the time ran out first. */
bool EndsWithin(const std::string& strSlice, unsigned long ulSeconds)
{
    Texts vecUnits;
    for (; ulSeconds > 0; --ulSeconds) {
        if (!IsLive(strSlice, vecUnits)) {
            return true;
        }
        PauseSecond();
    }
    return false;
}

} // namespace

bool VESKSystemdKillSlice(const std::string& strGivenSlice)
{
    const std::string strSlice = BeforeZero(strGivenSlice);
    if (!VESK_ARGUMENT(IsBelow(strSlice))) {
        return false;
    }
    Texts vecUnits;
    if (!IsLive(strSlice, vecUnits)) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: There is no alive process in [%s], skip kill slice", VESK_HERE,
                 strSlice.c_str());
        return true;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] killing...", VESK_HERE, strSlice.c_str());
    StopUnits(strSlice, vecUnits);
    if (!SendSignal(strSlice, {})) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] SIGTERM killing failed in process kill phase.", VESK_HERE,
                 strSlice.c_str());
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: has sent SIGTERM to [%s]", VESK_HERE, strSlice.c_str());
    if (!EndsWithin(strSlice, GraceSecondsGet(strSlice))) {
        if (!SendSignal(strSlice, {"--signal=SIGKILL"})) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: [%s] SIGKILL killing failed in process kill phase.",
                     VESK_HERE, strSlice.c_str());
            return false;
        }
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: has sent SIGKILL to [%s]", VESK_HERE, strSlice.c_str());
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] killed.", VESK_HERE, strSlice.c_str());
    return true;
}
