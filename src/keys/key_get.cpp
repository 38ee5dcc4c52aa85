#include "keys/key_get.hpp"

#include "vesksystemd.hpp"

#include "core/text.hpp"

namespace VESK::Systemd
{

bool TextKeyGet(const std::string& strUnit, const char* szKey, std::string& strValue)
{
    try {
        strValue = XVesklineKeyGet(strUnit, szKey);
        return !strValue.empty();
    } catch (const std::exception&) {
        return false;
    }
}

bool FlagKeyGet(const std::string& strUnit, const char* szKey, bool& blValue)
{
    try {
        blValue = XVesklineKeyGet(strUnit, szKey) == "yes";
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool ListKeyGet(const std::string& strUnit, const char* szKey, Texts& vecItems)
{
    try {
        return Split(XVesklineKeyGet(strUnit, szKey), vecItems, " ");
    } catch (const std::exception&) {
        return false;
    }
}

bool TargetsKeyGet(const std::string& strUnit, const char* szKey, Texts& vecTargets)
{
    Texts vecItems;
    if (!ListKeyGet(strUnit, szKey, vecItems)) {
        return false;
    }
    for (const std::string& strItem : vecItems) {
        if (UnitTypeGet(strItem) == "target") {
            vecTargets.push_back(strItem);
        }
    }
    return true;
}

} // namespace VESK::Systemd
