#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdIsDefaultEnableGet(const std::string& strUnit, bool& blDefaultEnable)
{
    return VESK_ARGUMENT_NAME(strUnit) && FlagKeyGet(strUnit, "DefaultEnable", blDefaultEnable);
}

int VESKCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pblDefaultEnable) &&
               VESKSystemdIsDefaultEnableGet(szUnit, *pblDefaultEnable);
    });
}
