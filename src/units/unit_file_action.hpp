#pragma once

#include "units/unit_action.hpp"

namespace VESK::Systemd
{

/**
 * Makes of a row the action that changes the enable state of units: measured, with all units failed when
 * systemctl fails, and all units marked as changed, even by a failed attempt.
 */
UnitAction UnitFileAction(UnitAction action);

} // namespace VESK::Systemd
