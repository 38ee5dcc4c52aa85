#include "vesksystemd.hpp"

#include <cerrno>

#include "core/c_forms.hpp"
#include "core/directory.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/reason_folder.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdServiceReasonList(const std::string& strService, Texts& vecReasons)
{
    if (!VESK_ARGUMENT_NAME(strService)) {
        return false;
    }
    if (!MayHaveReasons(strService)) {
        VLIBCErrSetEx(ERR_INVALID_ARGUMENT, VESK_HERE);
        return false;
    }
    Directory directory(ReasonFolder(strService));
    Texts vecFound;
    while (const char* szReason = directory.Next()) {
        vecFound.emplace_back(szReason);
    }
    if (directory.Error() != 0 && directory.Error() != ENOENT) {
        VLIBCErrSetEx(ERR_OPEN_DIRECTORY, VESK_HERE);
        return false;
    }
    vecReasons.insert(vecReasons.end(), vecFound.begin(), vecFound.end());
    return true;
}

int VESKCSystemdServiceReasonList(const char* szService, VLIBCSzList** ppListReasons)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != szService) && VESK_ARGUMENT(nullptr != ppListReasons) &&
               VESK_ARGUMENT(nullptr != *ppListReasons) && ListForm(ppListReasons, [&](Texts& vecTexts) {
                   return VESKSystemdServiceReasonList(szService, vecTexts);
               });
    });
}
