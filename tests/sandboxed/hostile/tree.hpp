// Everything in the folders that the library, or a name that leads out of them, could reach.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace VeskTest
{

// Each path with its kind, mode, owner, and text or target. What the sandbox itself keeps there is left out.
using Tree = std::map<std::string, std::string>;

Tree TreeNow();

// The paths that came, went or changed, each with what it is after (nothing for what went).
Tree ChangesBetween(const Tree& before, const Tree& after);

} // namespace VeskTest
