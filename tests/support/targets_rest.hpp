// What isolations and unmounts of volumes may not leave behind.
#pragma once

#include "paths.hpp"

namespace VeskTest
{

// No flag is there, every lock is free, and neither a forked process nor the status monitor's script runs on.
// The script and the processes around it, which see the end of the operation by its exit lock, have time to
// end.
void ExpectTargetsAtRest();

} // namespace VeskTest
