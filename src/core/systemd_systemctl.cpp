#include "vesksystemd.hpp"

#include <chrono>
#include <exception>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include <veskbootseq.h>

#include "core/child_stream.hpp"
#include "core/line_reader.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/systemctl.hpp"
#include "core/systemctl_dialect.hpp"
#include "core/systemctl_policy.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

using Callback = std::function<bool(int, const Texts&)>;

namespace VESK::Systemd
{
namespace
{

constexpr const char* kSystemctl = "/usr/bin/systemctl";

/** Whether it is for the manager of the user who calls, not for that of the system. */
bool IsForUser(const Request& request)
{
    return !request.blForceSystem && getuid() != 0;
}

Texts CommandOf(const Request& request)
{
    Texts vecCommand{kSystemctl, request.strVerb};
    if (IsForUser(request)) {
        vecCommand.emplace_back("--user");
    }
    vecCommand.insert(vecCommand.end(), request.vecOptions.begin(), request.vecOptions.end());
    vecCommand.insert(vecCommand.end(), request.vecUnits.begin(), request.vecUnits.end());
    return vecCommand;
}

std::string CommandLine(const Request& request)
{
    return Joined(CommandOf(request), " ");
}

/** Reads all that is printed; false when that failed, so that no part is taken for the whole. */
bool LinesRead(FILE* pStream, Texts& vecLines)
{
    LineReader reader(pStream);
    for (std::string strLine; reader.Next(strLine);) {
        vecLines.push_back(std::move(strLine));
    }
    return !reader.Failed();
}

/** Runs systemctl to its end. */
Answer Run(const Request& given)
{
    const Request request = RequestInDialect(given);
    ChildStream child(kSystemctl, "rB", CommandOf(request));
    Answer answer;
    if (child.Get() == nullptr || !LinesRead(child.Get(), answer.vecLines)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: fail to execute [%s].", VESK_HERE,
                 CommandLine(request).c_str());
        return {};
    }
    const int nStatus = child.Close();
    answer.nExitCode = (nStatus >> 8) & 0xFF;
    answer.blKilled = WIFSIGNALED(nStatus);
    answer.blGiven = true;
    answer = AnswerInDialect(request, std::move(answer));
    AnswerHeard(given, answer);
    return answer;
}

Answer RunMeasured(const Request& request)
{
    const auto begin = std::chrono::steady_clock::now();
    Answer answer = Run(request);
    const std::chrono::nanoseconds elapsed = std::chrono::steady_clock::now() - begin;
    if (answer.blGiven) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Execute time for [%s] is %lld ms", VESK_HERE,
                 CommandLine(request).c_str(), static_cast<long long>(elapsed.count() / 1000000));
    }
    return answer;
}

std::optional<JobInfo> JobOf(const std::string& strUnit)
{
    JobInfo info;
    return VESKSystemdIntJobGet(strUnit, info) ? std::make_optional(info) : std::nullopt;
}

bool IsGoingToStop(const std::string& strUnit)
{
    const std::optional<JobInfo> job = JobOf(strUnit);
    if (!job || job->type != JobType::Stop) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: [%s] type [%d] state [%d] is going to stop.", VESK_HERE,
             strUnit.c_str(), static_cast<int>(job->type), static_cast<int>(job->state));
    return true;
}

Texts UnitsThatStay(const Texts& vecUnits)
{
    Texts vecStaying;
    for (const std::string& strUnit : vecUnits) {
        if (!IsGoingToStop(strUnit)) {
            vecStaying.push_back(strUnit);
        }
    }
    return vecStaying;
}

/** What is told of a request that is refused. */
void LogRefusal(const Request& request, const JobInfo& job)
{
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: unit is in job list: [%s]", VESK_HERE, job.ToString().c_str());
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Skip execute by service control policy: [%s]", VESK_HERE,
             CommandLine(request).c_str());
}

} // namespace

// Weak, so that a program's own takes its place.
[[gnu::weak]] void AnswerHeard(const Request&, const Answer&) {}

Answer Ask(const Request& given)
{
    // What is checked here is what the program gets, and no more is logged.
    Request request{BeforeZero(given.strVerb), NamesGet(given.vecOptions), NamesGet(given.vecUnits),
                    given.blForceSystem, given.blMeasured};
    if (IsForUser(request)) {
        VESKSystemdPutEnvByPAMSystemd();
    }
    const Decision decision = ServiceControlDecide(request, VESKSystemGetBootStep, JobOf);
    if (decision.verdict == Verdict::Refuse) {
        LogRefusal(request, decision.job);
        Answer answer;
        answer.blRefused = true;
        return answer;
    }
    if (decision.verdict == Verdict::RunWithoutBlocking) {
        request.vecOptions.emplace_back("--no-block");
    }
    if (PassesOverStoppingUnits(request.strVerb)) {
        request.vecUnits = UnitsThatStay(request.vecUnits);
        if (request.vecUnits.empty()) {
            Answer answer;
            answer.blGiven = true;
            return answer;
        }
    }
    return request.blMeasured ? RunMeasured(request) : Run(request);
}

Answer AskOrThrow(const Request& request)
{
    Answer answer = Ask(request);
    if (!answer.blGiven) {
        throw std::exception();
    }
    return answer;
}

} // namespace VESK::Systemd

bool VESKSystemdSystemctlUltron(const std::string& strVerb, const SystemctlOpts& opts, const Texts& vecUnits,
                                Callback&& callback)
{
    const Texts vecOptions = opts.pCmdOpts != nullptr ? *opts.pCmdOpts : Texts();
    const Answer answer = AskOrThrow({strVerb, vecOptions, vecUnits, opts.blForceSystem, opts.blCalRunTime});
    return callback(answer.nExitCode, answer.vecLines);
}

bool VESKSystemdSystemctl(const std::string& strVerb, const Texts& vecCommandOptions, const Texts& vecUnits,
                          Callback&& callback)
{
    SystemctlOpts opts;
    opts.pCmdOpts = &vecCommandOptions;
    return VESKSystemdSystemctlUltron(strVerb, opts, vecUnits, std::move(callback));
}

bool VESKSystemdSystemctl(const std::string& strVerb, const Texts& vecUnits, Callback&& callback)
{
    return VESKSystemdSystemctlUltron(strVerb, SystemctlOpts(), vecUnits, std::move(callback));
}
