#pragma once

#include "core/text.hpp"
#include "units/unit_action.hpp"

namespace VESK::Systemd
{

/** As VESKSystemdStartWithOptions, telling a start that failed from one that could not be tried. */
ActionEnd StartTry(const Texts& vecOptions, const Texts& vecGivenUnits, Texts& vecFailed);

} // namespace VESK::Systemd
