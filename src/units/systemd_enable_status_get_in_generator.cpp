#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "units/status_word.hpp"

using namespace VESK::Systemd;

using Status = VESK_SYSTEMD_ENABLE_STATUS;

Status VESKSystemdEnableStatusGetInGenerator(const std::string& strUnit)
{
    return VESKSystemdEnableStatusGetWithOptions({"--root=/."}, strUnit);
}

int VESKCSystemdEnableStatusGetInGenerator(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdEnableStatusGetInGenerator);
}
