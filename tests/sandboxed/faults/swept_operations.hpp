// Every exported operation that does more than compute, with what it comes to on the ground of the tests.
#pragma once

#include <functional>
#include <iosfwd>
#include <set>
#include <string>
#include <vector>

namespace VeskTest
{

struct SweptOperation {
    std::string symbol; // as in the list of exported symbols
    // What it comes to, in words; empty when it fails.
    std::function<std::string()> call;
    // Made before it, on top of the ground.
    std::function<void()> prepare = [] {};
    // It goes on when one of its steps fails and tells of that in the log alone, as it is to.
    bool passesOverSteps = false;
    // What it comes to as well, where a file that cannot be read is to count as one that says nothing.
    std::string unread = {};
    // The libraries that it calls do not survive without memory.
    bool needsMemory = false;
    // What it writes lacks the keys for which memory ended, as it is to.
    bool mayLackKeys = false;
};

std::ostream& operator<<(std::ostream& stream, const SweptOperation& operation);

const std::vector<SweptOperation>& SweptOperations();

// The exported functions that touch nothing but their arguments and what their object holds.
const std::set<std::string>& ComputingFunctions();

} // namespace VeskTest
