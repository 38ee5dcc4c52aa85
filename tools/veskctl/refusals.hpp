#pragma once

/** What systemctl said when it refused something, which the library only logs. */

#include <string>

namespace Veskctl
{

/** Its sentence on a unit that it was last asked to act on; empty when it has said nothing. */
std::string RefusalOf(const std::string& strUnit);

/** Its sentence on what it last refused at all. */
std::string LastRefusal();

/** The end of a complaint: what systemctl said, or where else to look when it has said nothing. */
std::string WhyFrom(const std::string& strRefusal);

} // namespace Veskctl
