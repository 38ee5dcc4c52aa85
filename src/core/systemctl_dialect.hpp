#pragma once

/**
 * What differs between the platform's systemctl and today's. The library speaks the platform's dialect; here, and
 * nowhere else, today's is turned into it. Everything is about texts alone, and known for both kinds of systemd.
 */

#include "core/systemctl.hpp"
#include "core/systemd_kind.hpp"

namespace VESK::Systemd
{

/**
 * The request as that systemctl understands it. Today's knows full names only where it lists jobs, so a short one
 * is completed; a path or a pattern is no short name. And until 245 it cuts names in listings unless it
 * is asked not to, also where it prints to no terminal.
 */
Request RequestInDialect(Request request, SystemdKind kind = kSystemdBuilt);

/**
 * The answer as the platform's systemctl would have given it. To the platform a list of jobs is a success with
 * exit code 1, rows of jobs and of unit files have single spaces between their fields, and the latter have two.
 * Lines that are no rows, as warnings are, stay as they are.
 */
Answer AnswerInDialect(const Request& request, Answer answer, SystemdKind kind = kSystemdBuilt);

/** Whether "disable" passes over units that are masked, so that their links are left. */
bool DisablePassesOverMasked(SystemdKind kind = kSystemdBuilt);

} // namespace VESK::Systemd
