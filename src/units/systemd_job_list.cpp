#include "vesksystemd.hpp"

#include <utility>

#include "core/job_row.hpp"
#include "core/log.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

namespace
{

/** "list-jobs" of the platform's systemd succeeds with 1. */
constexpr int kListJobsDone = 1;

bool JobOf(const std::string& strLine, JobInfo& info)
{
    if (JobRowRead(strLine, info)) {
        return true;
    }
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to parse job info: [%s]", VESK_HERE, strLine.c_str());
    return false;
}

/** Asks for the job of a unit, for all jobs when that is empty; an answer goes to `judge`. */
template <typename Judge>
bool ListJobs(const std::string& strUnit, Judge&& judge)
{
    const auto request = [&] {
        return Request{"list-jobs", {"--no-legend"}, strUnit.empty() ? Texts{} : Texts{strUnit}};
    };
    return AskAndJudge(request, [&](const Answer& answer) {
        if (!answer.blGiven) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: list-jobs failed.", VESK_HERE);
            return false;
        }
        return judge(answer.nExitCode, answer.vecLines);
    });
}

} // namespace

bool VESKSystemdIntJobList(std::map<unsigned int, JobInfo>& mapJobs)
{
    return ListJobs({}, [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != kListJobsDone) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to list-jobs, ret=[%d], reason=[%s]", VESK_HERE,
                     nExitCode, Joined(vecLines).c_str());
            return false;
        }
        for (const std::string& strLine : vecLines) {
            JobInfo info;
            if (JobOf(strLine, info)) {
                // They come in the order of their ids.
                mapJobs.emplace_hint(mapJobs.end(), info.id, std::move(info));
            }
        }
        return true;
    });
}

bool VESKSystemdIntJobGet(const std::string& strGivenUnit, JobInfo& info)
{
    const std::string strUnit = BeforeZero(strGivenUnit);
    if (!VESK_ARGUMENT((!strUnit.empty()))) {
        return false;
    }
    return ListJobs(strUnit, [&](int nExitCode, const Texts& vecLines) {
        if (vecLines.empty()) {
            return false;
        }
        if (nExitCode != kListJobsDone) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to list-jobs [%s], ret=[%d], reason=[%s]", VESK_HERE,
                     strUnit.c_str(), nExitCode, Joined(vecLines).c_str());
            return false;
        }
        return JobOf(vecLines.front(), info);
    });
}
