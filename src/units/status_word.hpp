#pragma once

/** What the queries of a unit's states share: each state is a word of systemd, found in a table. */

#include <array>
#include <cstddef>
#include <string>

#include <veskcore.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"

namespace VESK::Systemd
{

template <typename Status>
struct StatusWord {
    const char* szWord;
    Status status;
};

template <typename Status>
constexpr Status kUnknownStatus = static_cast<Status>(-1);

/** The status for a word; unknown, with the error set at the place given, for a word that the table lacks. */
template <typename Status, size_t nWords>
Status StatusOf(const std::array<StatusWord<Status>, nWords>& words, const std::string& strWord,
                const char* szFile, int nLine)
{
    for (const StatusWord<Status>& row : words) {
        if (strWord == row.szWord) {
            return row.status;
        }
    }
    VLIBCErrSetEx(ERR_UNEXPECTED, szFile, nLine);
    return kUnknownStatus<Status>;
}

/** The C form of a query of a unit's state. */
template <typename Status>
int CStatusForm(const char* szFile, int nLine, const char* szUnit, Status (*statusGet)(const std::string&))
{
    return CValueForm(-1, [&] {
        return VESK_ARGUMENT_AT(szFile, nLine, nullptr != szUnit) ? statusGet(szUnit)
                                                                  : kUnknownStatus<Status>;
    });
}

} // namespace VESK::Systemd
