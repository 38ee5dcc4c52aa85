#pragma once

#include <string>

#include "files.hpp"
#include "paths.hpp"

namespace VeskTest
{

// What VESKSystemGetBootStep() of the bundled platform answers from now on.
inline void SetBootStep(int step)
{
    WriteText(kBootStep, std::to_string(step) + "\n");
}

// No boot step is known.
inline void ClearBootStep()
{
    RemoveAll(kBootStep);
}

} // namespace VeskTest
