#include "vesksystemd.hpp"

#include "core/log.hpp"

using VESK::Systemd::XVesklineKeyGet;

bool VESKSystemdIconGet(std::string strUnit, VESK::Systemd::Icon& icon)
{
    if (!VESK_ARGUMENT(!strUnit.empty())) {
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
