#include "core/c_forms.hpp"

#include <algorithm>
#include <cstdio>

#include "core/log.hpp"

namespace VESK::Systemd
{

Texts ListGet(const VLIBCSzList* pList)
{
    Texts vecTexts;
    for (int i = 0; i < VLIBCSzListCount(pList); ++i) {
        vecTexts.emplace_back(VLIBCSzListGet(pList, i));
    }
    return vecTexts;
}

bool ListPush(const Texts& vecTexts, VLIBCSzList** ppList)
{
    return std::all_of(vecTexts.begin(), vecTexts.end(), [&](const std::string& strText) {
        return VLIBCSzListPush(ppList, strText.c_str()) >= 0;
    });
}

bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed, UnitsOperation* operation)
{
    return GroupForm(pListUnits, ppListFailed, std::function<UnitsOperation>(operation));
}

bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed,
               const std::function<UnitsOperation>& operation)
{
    Texts vecFailed;
    const bool blResult = operation(ListGet(pListUnits), vecFailed);
    if (!blResult && ppListFailed != nullptr && *ppListFailed != nullptr) {
        ListPush(vecFailed, ppListFailed);
    }
    return blResult;
}

bool OneUnitForm(const std::string& strUnit, UnitsOperation* operation)
{
    Texts vecFailed;
    return operation({strUnit}, vecFailed);
}

bool TextCopy(const char* szFile, int nLine, const std::string& strText, char* szBuffer, size_t cbBuffer)
{
    if (strText.size() + 1 > cbBuffer) {
        VLIBCErrSetEx(ERR_BUFFER_TOO_SMALL, szFile, nLine);
        return false;
    }
    snprintf(szBuffer, cbBuffer, "%s", strText.c_str());
    return true;
}

} // namespace VESK::Systemd
