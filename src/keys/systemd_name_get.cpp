#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "keys/key_get.hpp"

using namespace VESK::Systemd;

bool VESKSystemdNameGet(const std::string& strUnit, std::string& strName)
{
    return VESK_ARGUMENT_NAME(strUnit) && TextKeyGet(strUnit, "Name", strName);
}

int VESKCSystemdNameGet(const char* szUnit, char* szName, size_t cbName)
{
    return CForm([&] {
        std::string strName;
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != szName) &&
               VESK_ARGUMENT(0 < cbName) && VESKSystemdNameGet(szUnit, strName) &&
               TextCopy(VESK_HERE, strName, szName, cbName);
    });
}
