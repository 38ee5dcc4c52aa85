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

bool OneUnitForm(const char* szFile, int nLine, const std::string& strName, UnitsOperation* operation)
{
    const std::string strUnit = BeforeZero(strName);
    Texts vecFailed;
    return VESK_ARGUMENT_AT(szFile, nLine, !strUnit.empty()) && operation({strUnit}, vecFailed);
}

int COneUnitForm(const char* szFile, int nLine, const char* szUnit, UnitOperation* operation)
{
    return CForm([&] { return VESK_ARGUMENT_AT(szFile, nLine, nullptr != szUnit) && operation(szUnit); });
}

int CGroupForm(const char* szFile, int nLine, const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed,
               UnitsOperation* operation)
{
    return CForm([&] {
        return VESK_ARGUMENT_AT(szFile, nLine, nullptr != pListUnits) &&
               GroupForm(pListUnits, ppListFailed, operation);
    });
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
