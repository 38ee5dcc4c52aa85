#pragma once

#include "command.hpp"

namespace Veskctl
{

Verb UninstallVerb();

} // namespace Veskctl
