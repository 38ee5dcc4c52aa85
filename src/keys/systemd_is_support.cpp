#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"

using namespace VESK::Systemd;

bool VESKSystemdIsSupportGet(const std::string& strUnit, bool& blSupport)
{
    if (!VESK_ARGUMENT_NAME(strUnit)) {
        return false;
    }
    try {
        const std::string strFeature = XVesklineKeyGet(strUnit, "SupportKey");
        blSupport = strFeature.empty() || VLIBCSupportGet(strFeature.c_str()) != 0;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

int VESKCSystemdIsSupportGet(const char* szUnit, bool* pblSupport)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pblSupport) &&
               VESKSystemdIsSupportGet(szUnit, *pblSupport);
    });
}
