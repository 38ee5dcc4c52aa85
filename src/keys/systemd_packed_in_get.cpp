#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "keys/key_get.hpp"

bool VESKSystemdPackedInGet(const std::string& strUnit, std::vector<std::string>& vecTargets)
{
    return VESK_ARGUMENT(!strUnit.empty()) && VESK::Systemd::TargetsKeyGet(strUnit, "PackedIn", vecTargets);
}
