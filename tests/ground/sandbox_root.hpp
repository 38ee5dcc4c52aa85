#pragma once

#include "sandbox_options.hpp"

namespace VeskGround
{

// Builds the root of a sandbox and moves the calling process, the first of its namespaces, into it.
void EnterSandboxRoot(const SandboxOptions& options);

} // namespace VeskGround
