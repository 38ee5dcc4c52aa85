#pragma once

/** The kinds of keys in the section "X-Veskline". None lets a standard exception out: those are failures. */

#include <string>
#include <vector>

#include "core/text.hpp"

namespace VESK::Systemd
{

/** A text; false when it is empty. */
bool TextKeyGet(const std::string& strUnit, const char* szKey, std::string& strValue);

/** A flag, set by exactly "yes". */
bool FlagKeyGet(const std::string& strUnit, const char* szKey, bool& blValue);

/** Items between single spaces, which replace the vector's unless the value is blank. */
bool ListKeyGet(const std::string& strUnit, const char* szKey, Texts& vecItems);

/** The same, but appends, and only the items that are targets. */
bool TargetsKeyGet(const std::string& strUnit, const char* szKey, Texts& vecTargets);

} // namespace VESK::Systemd
