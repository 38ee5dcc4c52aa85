#include "vesksystemd.hpp"

#include <array>
#include <utility>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"

using namespace VESK::Systemd;

namespace
{

constexpr std::array<std::pair<const char*, VESK_SYSTEMD_VOLUME_DEPENDENCY>, 3> kWords{{
    {"none", VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE},
    {"all", VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL},
    {"partial", VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL},
}};

VESK_SYSTEMD_VOLUME_DEPENDENCY DependencyOf(const std::string& strWord)
{
    for (const auto& [szWord, dependency] : kWords) {
        if (strWord == szWord) {
            return dependency;
        }
    }
    return VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE;
}

} // namespace

bool VESKSystemdVolumeDependencyGet(const std::string& strUnit, VESK_SYSTEMD_VOLUME_DEPENDENCY& dependency)
{
    if (!VESK_ARGUMENT_NAME(strUnit)) {
        return false;
    }
    try {
        dependency = DependencyOf(XVesklineKeyGet(strUnit, "VolumeDependency"));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

int VESKCSystemdVolumeDependencyGet(const char* szUnit, VESK_SYSTEMD_VOLUME_DEPENDENCY* pDependency)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szUnit) && VESK_ARGUMENT(nullptr != pDependency) &&
               VESKSystemdVolumeDependencyGet(szUnit, *pDependency);
    });
}
