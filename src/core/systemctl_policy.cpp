#include "core/systemctl_policy.hpp"

#include <array>
#include <utility>

namespace VESK::Systemd
{
namespace
{

/** What the platform makes of a verb while a listed unit has a job queued. */
enum class Policy { RefuseOnStartJob, RefuseOnStopJob, RefuseOnAnyJob, DoNotBlock };

constexpr std::array<std::pair<const char*, Policy>, 4> kPolicies{{
    {"start", Policy::RefuseOnStartJob},
    {"stop", Policy::RefuseOnStopJob},
    {"restart", Policy::RefuseOnAnyJob},
    {"reload", Policy::DoNotBlock},
}};

std::optional<Policy> PolicyGet(const std::string& strVerb)
{
    for (const auto& [szVerb, policy] : kPolicies) {
        if (strVerb == szVerb) {
            return policy;
        }
    }
    return std::nullopt;
}

bool IsInForce(int nBootStep)
{
    return (nBootStep >= 0 && nBootStep <= 3) || nBootStep == 5;
}

Verdict VerdictOn(JobType type, Policy policy)
{
    switch (policy) {
    case Policy::RefuseOnStartJob:
        return type == JobType::Start ? Verdict::Refuse : Verdict::Run;
    case Policy::RefuseOnStopJob:
        return type == JobType::Stop ? Verdict::Refuse : Verdict::Run;
    case Policy::RefuseOnAnyJob:
        return Verdict::Refuse;
    case Policy::DoNotBlock:
        return Verdict::RunWithoutBlocking;
    }
    return Verdict::Run;
}

} // namespace

Decision ServiceControlDecide(const Request& request, int (*bootStepGet)(), const JobGetter& jobGet)
{
    const std::optional<Policy> policy = PolicyGet(request.strVerb);
    if (!policy || !IsInForce(bootStepGet())) {
        return {};
    }
    for (const std::string& strUnit : request.vecUnits) {
        const std::optional<JobInfo> job = jobGet(strUnit);
        const Verdict verdict = job ? VerdictOn(job->type, *policy) : Verdict::Run;
        if (verdict != Verdict::Run) {
            return {verdict, *job};
        }
    }
    return {};
}

bool PassesOverStoppingUnits(const std::string& strVerb)
{
    return strVerb == "try-restart" || strVerb == "reload";
}

} // namespace VESK::Systemd
