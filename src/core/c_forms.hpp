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

/** The same for a family's list form, picked from its overloads by its type. */
bool GroupForm(const VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed, UnitsOperation* operation);

/** Runs `operation` on one unit, whose failure the result tells. */
bool OneUnitForm(const std::string& strUnit, UnitsOperation* operation);

/** Copies a text to a caller's buffer; sets the error at the place given when it does not fit. */
bool TextCopy(const char* szFile, int nLine, const std::string& strText, char* szBuffer, size_t cbBuffer);

} // namespace VESK::Systemd
