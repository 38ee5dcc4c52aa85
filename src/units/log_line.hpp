#pragma once

#include <stdexcept>
#include <string_view>

#include "core/log.hpp"

/** A text of the log for a row: the whole format, which begins with "%s:%d ", and the place where it stands. */
#define VESK_LINE(format) (::VESK::Systemd::LogLine{format, VESK_HERE})

namespace VESK::Systemd
{

/**
 * Whether a format takes these arguments after those for the place: one letter for each, "s" for a text and "d"
 * for an int. It may hold no other conversion, and no flags.
 */
constexpr bool FormatTakes(std::string_view svFormat, std::string_view svArguments)
{
    constexpr std::string_view kPlace = "%s:%d ";
    if (svFormat.substr(0, kPlace.size()) != kPlace) {
        return false;
    }
    svFormat.remove_prefix(kPlace.size());
    for (const char cArgument : svArguments) {
        const size_t nPercent = svFormat.find('%');
        if (nPercent == std::string_view::npos || nPercent + 1 == svFormat.size() ||
            svFormat[nPercent + 1] != cArgument) {
            return false;
        }
        svFormat.remove_prefix(nPercent + 2);
    }
    return svFormat.find('%') == std::string_view::npos;
}

struct LogLine {
    const char* szFormat;
    const char* szFile;
    int nLine;

    /** The text itself; does not compile where a constant is made, and throws elsewhere, when it takes others. */
    constexpr LogLine Taking(std::string_view svArguments) const
    {
        return FormatTakes(szFormat, svArguments) ? *this
                                                  : throw std::logic_error("a format with other arguments");
    }
};

} // namespace VESK::Systemd
