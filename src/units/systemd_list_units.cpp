#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"
#include "core/unit_names.hpp"

using namespace VESK::Systemd;

namespace
{

void UnitsAppend(const Texts& vecLines, Texts& vecUnits)
{
    Texts vecFound;
    for (const std::string& strLine : vecLines) {
        const Texts vecFields = Pieces(strLine, " ");
        if (vecFields.size() == 2) {
            vecFound.push_back(vecFields[0]);
        }
    }
    vecUnits.insert(vecUnits.end(), vecFound.begin(), vecFound.end());
}

} // namespace

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
    return AskAndJudge(
        [&] {
            return Request{"list-unit-files", vecOptions, {}};
        },
        [&](const Answer& answer) {
            if (!answer.blGiven) {
                VESK_LOG(LOG_ERR, "%s:%d vesksystemd: list-unit-files failed.", VESK_HERE);
            } else if (answer.nExitCode == 0) {
                UnitsAppend(answer.vecLines, vecUnits);
            }
            return answer.IsSuccess();
        });
}
