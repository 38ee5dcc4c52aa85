#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdServiceSkipListByMntPath(const std::string& strService, bool& blSkip)
{
    return VESK_ARGUMENT(!strService.empty()) && FlagKeyGet(strService, "SkipListByMntPath", blSkip);
}
