#pragma once

#include "command.hpp"

namespace Veskctl
{

Verb PidVerb();

} // namespace Veskctl
