#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/text.hpp"
#include "core/unit_types.hpp"

using namespace VESK::Systemd;

bool VESKSystemdListUnits(Texts& vecUnits, const std::string& strType)
{
    const std::set<std::string>& setUnitTypes = UnitTypes();
    if (!VESK_ARGUMENT((strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType)))) {
        return false;
    }
    Texts vecOptions{"--no-legend", "--root=/."};
    if (!strType.empty()) {
        vecOptions.insert(vecOptions.end(), {"--type", strType});
    }
    const auto readAnswer = [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0) {
            return false;
        }
        for (const std::string& strLine : vecLines) {
            Texts vecFields;
            if (Split(strLine, vecFields, " ") && vecFields.size() == 2) {
                vecUnits.push_back(vecFields[0]);
            }
        }
        return true;
    };
    try {
        return VESKSystemdSystemctl("list-unit-files", vecOptions, {}, readAnswer);
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: list-unit-files failed.", VESK_HERE);
        return false;
    }
}
