#pragma once

#include <vector>

#include "fields.hpp"

namespace VeskGround
{

// Carries out an answer's steps; gives the exit code of the program, unless a step kills it.
int PlayAnswer(const std::vector<Field>& steps);

} // namespace VeskGround
