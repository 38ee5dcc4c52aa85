#pragma once

/** What the C functions share: exceptions stopped, lists and texts converted. */

#include <cstddef>
#include <functional>
#include <pthread.h>
#include <string>

#include <veskcore.h>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** An operation on one unit. */
using UnitOperation = bool(const std::string& strUnit);

/** An operation on a list of units that tells the units that failed. */
using UnitsOperation = bool(const Texts& vecUnits, Texts& vecFailed);

/**
 * Lets the cancellation of the calling thread wait: in the middle of an operation, and in a destructor at that,
 * it would end the process.
 */
class CancellationLater
{
public:
    CancellationLater() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nBefore); }
    ~CancellationLater() { pthread_setcancelstate(m_nBefore, nullptr); }
    CancellationLater(const CancellationLater&) = delete;
    CancellationLater& operator=(const CancellationLater&) = delete;

private:
    int m_nBefore = PTHREAD_CANCEL_ENABLE;
};

/** The body of a C function: its value, or `failure` when it throws. */
template <typename Value, typename Body>
Value CValueForm(Value failure, Body&& body) noexcept
{
    const CancellationLater later;
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

/** The body of a C function: 1 when `body` is true, 0 when it is false or throws. */
template <typename Body>
int CForm(Body&& body) noexcept
{
    return CValueForm(false, body) ? 1 : 0;
}

Texts ListGet(const VLIBCSzList* pList);

/** Pushes the texts one after the other; false when one of them could not be. */
bool ListPush(const Texts& vecTexts, VLIBCSzList** ppList);

/** Pushes what `textsGet` finds to the caller's list, when it finds it. */
template <typename Getter>
bool ListForm(VLIBCSzList** ppList, Getter&& textsGet)
{
    Texts vecTexts;
    if (!textsGet(vecTexts)) {
        return false;
    }
    return ListPush(vecTexts, ppList);
}

/** Runs `operation` on a list; on failure pushes the failed units to the caller's list if there is one. */
bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed,
               const std::function<UnitsOperation>& operation);

/*
 * The forms of an operation, which is picked from its overloads by its type. The place is that of the exported
 * function, for an argument that is refused.
 */

/** The form for one unit, whose name ends at a zero byte, and whose failure the result tells. */
bool OneUnitForm(const char* szFile, int nLine, const std::string& strName, UnitsOperation* operation);

/** The C form for one unit. */
int COneUnitForm(const char* szFile, int nLine, const char* szUnit, UnitOperation* operation);

/** The C form for a list of units. */
int CGroupForm(const char* szFile, int nLine, const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed,
               UnitsOperation* operation);

/** Copies a text to a caller's buffer; sets the error at the place given when it does not fit. */
bool TextCopy(const char* szFile, int nLine, const std::string& strText, char* szBuffer, size_t cbBuffer);

} // namespace VESK::Systemd
