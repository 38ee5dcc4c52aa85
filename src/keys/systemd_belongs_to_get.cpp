#include "vesksystemd.hpp"

#include "core/names.hpp"
#include "core/text.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdBelongsToGet(const std::string& strUnit, Texts& vecTargets)
{
    return VESK_ARGUMENT_NAME(strUnit) && TargetsKeyGet(strUnit, "BelongsTo", vecTargets);
}
