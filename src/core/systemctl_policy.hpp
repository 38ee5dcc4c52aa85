#pragma once

/** What becomes of a request while jobs of its units are queued. Nothing here starts, reads or logs anything. */

#include <functional>
#include <optional>
#include <string>

#include "vesksystemd.hpp"

#include "core/systemctl.hpp"

namespace VESK::Systemd
{

/** Finds the job of a unit that is queued; nothing when there is none to be had. */
using JobGetter = std::function<std::optional<JobInfo>(const std::string& strUnit)>;

enum class Verdict { Run, RunWithoutBlocking, Refuse };

struct Decision {
    Verdict verdict = Verdict::Run;
    /** The job because of which the request does not run as it is. */
    JobInfo job;
};

/**
 * The platform's service control policy: decides by the first queued job that stands against the request. It
 * holds while the system boots, in the boot steps 0 to 3 and 5; a negative step is one that is not known. Nothing
 * is asked that the decision does not need.
 */
Decision ServiceControlDecide(const Request& request, int (*bootStepGet)(), const JobGetter& jobGet);

/** Whether a verb is for the units alone that are not about to stop. */
bool PassesOverStoppingUnits(const std::string& strVerb);

} // namespace VESK::Systemd
