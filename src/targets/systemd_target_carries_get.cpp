#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "keys/key_get.hpp"

bool VESKSystemdTargetCarriesGet(const std::string& strTarget, std::vector<std::string>& vecUnits)
{
    std::vector<std::string> vecItems;
    if (!VESK_ARGUMENT(!strTarget.empty()) || !VESK::Systemd::ListKeyGet(strTarget, "Carries", vecItems)) {
        return false;
    }
    for (const std::string& strItem : vecItems) {
        vecUnits.push_back(VESK::Systemd::NormalizedUnitNameGet(strItem));
    }
    return true;
}
