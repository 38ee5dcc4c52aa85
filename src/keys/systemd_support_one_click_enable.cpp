#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& blOneClickEnable)
{
    return VESK_ARGUMENT_NAME(strUnit) && FlagKeyGet(strUnit, "SupportOneClickEnable", blOneClickEnable);
}

int VESKCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pblOneClickEnable) &&
               VESKSystemdSupportOneClickEnableGet(szUnit, *pblOneClickEnable);
    });
}
