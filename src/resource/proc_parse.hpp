#pragma once

/**
 * Readers of what /proc prints, as pure functions over text. Each accepts exactly the lines that the sscanf
 * format beside it accepts, and reads the same values from them.
 */

#include <string_view>

namespace VESK::Systemd
{

/** The first line with "%*s" thirteen times, then "%llu%llu": user and system ticks of a process. */
bool StatTicksParse(std::string_view svText, unsigned long long& ullUser, unsigned long long& ullSystem);

/** The first line with "cpu %llu%llu%llu%llu%llu%llu%llu%llu": the sum of the machine's ticks. */
bool TotalTicksParse(std::string_view svText, unsigned long long& ullTotal);

/** The sum over all lines with "Pss: %llu". */
unsigned long long PssParse(std::string_view svText);

/** The first line with "read_bytes: %llu" and the one after it with "write_bytes: %llu". */
bool IOParse(std::string_view svText, unsigned long long& ullRead, unsigned long long& ullWritten);

/** A line with "%*x-%*x %*s %*x %*s %*d %s": the path of a mapping; empty when the line has none. */
std::string_view MapsPathParse(std::string_view svLine);

} // namespace VESK::Systemd
