#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"

using namespace VESK::Systemd;

bool VESKSystemdIsJobEnqueued(const std::string& strUnit)
{
    if (!VESK_ARGUMENT_NAME(strUnit)) {
        return false;
    }
    std::string strJob;
    if (!VESKSystemdShow(strUnit, "Job", strJob)) {
        VLIBCErrSetEx(ERR_READ_JOB, VESK_HERE);
        return false;
    }
    return !strJob.empty();
}

int VESKCSystemdIsJobEnqueued(const char* szUnit)
{
    return COneUnitForm(VESK_HERE, szUnit, VESKSystemdIsJobEnqueued);
}
