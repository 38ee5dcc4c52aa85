#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "keys/key_get.hpp"

bool VESKSystemdBelongsToGet(const std::string& strUnit, std::vector<std::string>& vecTargets)
{
    return VESK_ARGUMENT(!strUnit.empty()) && VESK::Systemd::TargetsKeyGet(strUnit, "BelongsTo", vecTargets);
}
