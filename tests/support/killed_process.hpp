// A process that is killed at any step of what it does.
#pragma once

#include <functional>

namespace VeskTest
{

// Runs FUNCTION in a forked child and kills it with SIGKILL at the step with this number, from 1: a step ends with
// each system call of which anything outside the process could tell. What the child forks is left alone. The result is
// the number of steps that it came to, which is less than STEP when it ended first.
int KillAtStep(int step, const std::function<void()>& function);

// Kills FUNCTION at each of the steps that it takes, and calls CHECK after each. The result is how often it was
// killed.
int KillAtEveryStep(const std::function<void()>& function, const std::function<void(int step)>& check);

} // namespace VeskTest
