#pragma once

#include <string>

#include "files.hpp"

namespace VeskTest
{

// What VESKSystemGetBootStep() of the bundled platform answers from now on.
inline void SetBootStep(int step)
{
    WriteText("/run/veskbootseq/step", std::to_string(step) + "\n");
}

// No boot step is known.
inline void ClearBootStep()
{
    RemoveAll("/run/veskbootseq/step");
}

} // namespace VeskTest
