#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "keys/key_get.hpp"

bool VESKSystemdServiceSkipListByMntPath(const std::string& strService, bool& blSkip)
{
    return VESK_ARGUMENT(!strService.empty()) &&
           VESK::Systemd::FlagKeyGet(strService, "SkipListByMntPath", blSkip);
}
