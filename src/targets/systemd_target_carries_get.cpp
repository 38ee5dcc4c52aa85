#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/text.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdTargetCarriesGet(const std::string& strTarget, Texts& vecUnits)
{
    Texts vecItems;
    if (!VESK_ARGUMENT(!strTarget.empty()) || !ListKeyGet(strTarget, "Carries", vecItems)) {
        return false;
    }
    for (const std::string& strItem : vecItems) {
        vecUnits.push_back(NormalizedUnitNameGet(strItem));
    }
    return true;
}
