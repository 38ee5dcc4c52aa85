#include "core/c_forms.hpp"

#include <cstdio>

#include "core/log.hpp"

namespace VESK::Systemd
{

std::vector<std::string> ListGet(const VLIBCSzList* pList)
{
    std::vector<std::string> vecTexts;
    for (int i = 0; i < VLIBCSzListCount(pList); ++i) {
        vecTexts.emplace_back(VLIBCSzListGet(pList, i));
    }
    return vecTexts;
}

void ListPush(const std::vector<std::string>& vecTexts, VLIBCSzList** ppList)
{
    for (const std::string& strText : vecTexts) {
        VLIBCSzListPush(ppList, strText.c_str());
    }
}

bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed, UnitsOperation* operation)
{
    std::vector<std::string> vecFailed;
    const bool blResult = operation(ListGet(pListUnits), vecFailed);
    if (!blResult && ppListFailed != nullptr && *ppListFailed != nullptr) {
        ListPush(vecFailed, ppListFailed);
    }
    return blResult;
}

bool OneUnitForm(const std::string& strUnit, UnitsOperation* operation)
{
    std::vector<std::string> vecFailed;
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
