#pragma once

#include <string>

#include <json/value.h>
#include <vesksystemd.hpp>

#include "command.hpp"

namespace Veskctl
{

/** pid, name, unit, cpuSeconds and memoryKiB. */
Json::Value ProcessJson(const VESK::Systemd::Process& process);

/** The CPU time of such a process, for a table. */
std::string SecondsText(const Json::Value& process);

Verb PidVerb();

} // namespace Veskctl
