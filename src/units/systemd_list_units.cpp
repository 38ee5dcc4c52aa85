#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/unit_types.hpp"

bool VESKSystemdListUnits(std::vector<std::string>& vecUnits, const std::string& strType)
{
    const std::set<std::string>& setUnitTypes = VESK::Systemd::UnitTypes();
    if (!VESK_ARGUMENT((strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType)))) {
        return false;
    }
    std::vector<std::string> vecOptions{"--no-legend", "--root=/."};
    if (!strType.empty()) {
        vecOptions.insert(vecOptions.end(), {"--type", strType});
    }
    const auto readAnswer = [&](int nExitCode, const std::vector<std::string>& vecLines) {
        if (nExitCode != 0) {
            return false;
        }
        for (const std::string& strLine : vecLines) {
            std::vector<std::string> vecFields;
            if (VESK::Systemd::Split(strLine, vecFields, " ") && vecFields.size() == 2) {
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
