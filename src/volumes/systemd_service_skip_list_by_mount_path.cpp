#include "vesksystemd.hpp"

#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdServiceSkipListByMntPath(const std::string& strService, bool& blSkip)
{
    return VESK_ARGUMENT_NAME(strService) && FlagKeyGet(strService, "SkipListByMntPath", blSkip);
}
