#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& blDisplay)
{
    return VESK_ARGUMENT_NAME(strUnit) && FlagKeyGet(strUnit, "InfoCenterDisplay", blDisplay);
}

int VESKCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pblDisplay) &&
               VESKSystemdInfoCenterDisplayGet(szUnit, *pblDisplay);
    });
}
