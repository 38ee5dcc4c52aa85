#pragma once

/** What the C functions share: exceptions stopped, lists and texts converted. */

#include <cstddef>
#include <exception>
#include <string>
#include <vector>

#include <veskcore.h>

namespace VESK::Systemd
{

/** An operation on a list of units that tells the units that failed. */
using UnitsOperation = bool(const std::vector<std::string>& vecUnits, std::vector<std::string>& vecFailed);

/** The body of a C function: 1 when `body` is true, 0 when it is false or throws. */
template <typename Body>
int CForm(Body&& body) noexcept
{
    try {
        return body() ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

std::vector<std::string> ListGet(const VLIBCSzList* pList);

void ListPush(const std::vector<std::string>& vecTexts, VLIBCSzList** ppList);

/** Runs `operation` on a list; on failure pushes the failed units to the caller's list if there is one. */
bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed, UnitsOperation* operation);

/** Runs `operation` on one unit, whose failure the result tells. */
bool OneUnitForm(const std::string& strUnit, UnitsOperation* operation);

/** Copies a text to a caller's buffer; sets the error at the place given when it does not fit. */
bool TextCopy(const char* szFile, int nLine, const std::string& strText, char* szBuffer, size_t cbBuffer);

} // namespace VESK::Systemd
