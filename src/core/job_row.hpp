#pragma once

#include <string>

#include "vesksystemd.hpp"

namespace VESK::Systemd
{

/** JobInfoParse that throws when memory runs out, for those who may not take a job for a line that is none. */
bool JobRowRead(const std::string& strLine, JobInfo& info);

} // namespace VESK::Systemd
