#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& blDisplay)
{
    return VESK_ARGUMENT_NAME(strUnit) && FlagKeyGet(strUnit, "NanoUpdateDisplay", blDisplay);
}

int VESKCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pblDisplay) &&
               VESKSystemdNanoUpdateDislayGet(szUnit, *pblDisplay);
    });
}
