#pragma once

#include "command.hpp"

namespace Veskctl
{

/**
 * Prints what the last of the words may become, a line for each: the word, and for verbs and options a tab and what
 * they do. The shells' own scripts ask for it.
 */
void Complete(const std::vector<Group>& vecGroups, const Texts& vecWords);

} // namespace Veskctl
