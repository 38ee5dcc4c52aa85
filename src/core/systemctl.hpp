#pragma once

/** The one door to systemd: what is asked of systemctl, and what it answers. */

#include <exception>
#include <string>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** What systemctl is asked. */
struct Request {
    std::string strVerb;
    Texts vecOptions;
    Texts vecUnits;
    /** Ask the system manager, whoever the caller is. */
    bool blForceSystem = false;
    /** Log how long the answer took. */
    bool blMeasured = false;
};

/** What came of it. */
struct Answer {
    /** False when systemctl could not be run or not be heard out, or was not to be run for a job that is queued. */
    bool blGiven = false;
    /** 0 for a systemctl that a signal ended. */
    int nExitCode = 0;
    /** What it printed to both its outputs, line by line, each with its line feed. */
    Texts vecLines;
    /** A signal ended it. */
    bool blKilled = false;
    /** Systemctl was not to be run, for a job that is queued. */
    bool blRefused = false;

    bool IsSuccess() const { return blGiven && nExitCode == 0; }
};

/**
 * Told of all that systemctl answers, in the thread that asked, before anybody judges it. Does nothing here; a program
 * that is linked from the library's objects may have one of its own, to tell more than results do.
 */
void AnswerHeard(const Request& request, const Answer& answer);

/**
 * Asks, as far as the jobs that are queued allow it; nobody else starts systemctl. Blocks until it has ended.
 * Throws when memory runs out.
 */
Answer Ask(const Request& given);

/** The same for those who end on an exception: a plain std::exception when there is no answer. */
Answer AskOrThrow(const Request& request);

/**
 * What `judge` makes of the answer to what `request` makes. When memory runs out on the way, the judge is given
 * an answer that was not given.
 */
template <typename MakeRequest, typename Judge>
bool AskAndJudge(MakeRequest&& request, Judge&& judge)
{
    try {
        return judge(Ask(request()));
    } catch (const std::exception&) {
        return judge(Answer());
    }
}

} // namespace VESK::Systemd
