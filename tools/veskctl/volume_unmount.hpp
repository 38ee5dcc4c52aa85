#pragma once

#include "command.hpp"

namespace Veskctl
{

Verb UnmountVerb();

} // namespace Veskctl
