#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdNameI18nGet(const std::string& strUnit, std::string& strNameI18n)
{
    return VESK_ARGUMENT_NAME(strUnit) && TextKeyGet(strUnit, "NameI18n", strNameI18n);
}

int VESKCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, size_t cbNameI18n)
{
    return CForm([&] {
        std::string strNameI18n;
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szNameI18n) &&
               VESK_ARGUMENT(0 < cbNameI18n) && VESKSystemdNameI18nGet(szUnit, strNameI18n) &&
               TextCopy(VESK_HERE, strNameI18n, szNameI18n, cbNameI18n);
    });
}
