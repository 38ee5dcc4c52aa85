#pragma once

#include "command.hpp"

namespace Veskctl
{

Verb KeysVerb();

} // namespace Veskctl
