#include "core/unit_names.hpp"

#include "vesksystemd.hpp"

#include "core/immortal.hpp"
#include "core/text.hpp"

namespace VESK::Systemd
{
namespace
{

/** Made when the library is loaded, so that a caller's static objects may use it. */
const auto* const kUnitTypes = Immortal(std::set<std::string>{
    "service",
    "socket",
    "device",
    "mount",
    "automount",
    "swap",
    "target",
    "path",
    "timer",
    "slice",
    "scope",
});

} // namespace

const std::set<std::string>& UnitTypes()
{
    return *kUnitTypes;
}

std::string NormalizedUnitNameGet(const std::string& strText)
{
    const std::string strName = BeforeZero(strText);
    return UnitTypes().count(UnitTypeGet(strName)) != 0 ? strName : strName + ".service";
}

std::string UnitTypeGet(const std::string& strText)
{
    const std::string strName = BeforeZero(strText);
    const size_t nDot = strName.rfind('.');
    return nDot == std::string::npos ? std::string() : strName.substr(nDot + 1);
}

std::string UnitNameWithoutFileExtensionGet(const std::string& strText)
{
    const std::string strName = BeforeZero(strText);
    return strName.substr(0, strName.rfind('.'));
}

std::string TemplateNameGet(const std::string& strText)
{
    std::string strUnit = BeforeZero(strText);
    const size_t nAt = strUnit.find('@');
    if (nAt == std::string::npos) {
        return strUnit;
    }
    const std::string strTemplate = strUnit.substr(0, nAt + 1);
    const std::string strType = UnitTypeGet(strUnit);
    return UnitTypes().count(strType) != 0 ? strTemplate + "." + strType : strTemplate;
}

} // namespace VESK::Systemd
