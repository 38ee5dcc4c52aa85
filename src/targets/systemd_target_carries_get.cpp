#include "vesksystemd.hpp"

#include "core/names.hpp"
#include "core/text.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdTargetCarriesGet(const std::string& strTarget, Texts& vecUnits)
{
    Texts vecItems;
    if (!VESK_ARGUMENT_NAME(strTarget) || !ListKeyGet(strTarget, "Carries", vecItems)) {
        return false;
    }
    for (const std::string& strItem : vecItems) {
        vecUnits.push_back(NormalizedUnitNameGet(strItem));
    }
    return true;
}
