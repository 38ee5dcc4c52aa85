#include "vesksystemd.hpp"

#include "core/names.hpp"

using namespace VESK::Systemd;

bool VESKSystemdIconGet(std::string strUnit, Icon& icon)
{
    if (!VESK_ARGUMENT_NAME(strUnit)) {
        return false;
    }
    try {
        icon.strAppId = XVesklineKeyGet(strUnit, "AppId");
        icon.strIconCls = XVesklineKeyGet(strUnit, "IconCls");
        icon.strIconName = XVesklineKeyGet(strUnit, "IconName");
        return true;
    } catch (const std::exception&) {
        return false;
    }
}
