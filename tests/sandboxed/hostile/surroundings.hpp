// Operations of the table in surroundings that no program should give them.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "hostile_ground.hpp"

namespace VeskTest
{

// What an operation finds around it.
struct Surroundings {
    std::string name;
    bool mayFail = false; // else the operation must do what it always does

    // Systemctl itself would not live with them.
    bool killsSystemctl = false;

    // Sets them up in the process that calls the operation, calls it, and takes them away again.
    std::function<void(const std::function<void()>&)> within = [](const auto& operation) { operation(); };

    // The same for all processes, once the machine is ready for the operation.
    std::function<void()> before = [] {};
    std::function<void()> after = [] {};
};

std::ostream& operator<<(std::ostream& stream, const Surroundings& surroundings);

// One operation of each family, with all that it does.
const std::vector<NamedOperation>& FamilyOperations();

const NamedOperation& OperationOf(const std::string& function);

// Calls the operation on the name "plain" within the surroundings, in a child of its own: it must come to an end by
// itself, and leave nothing in that process. With what came of it.
Outcome RunWithin(HostileGround& ground, const NamedOperation& operation, const Surroundings& surroundings);

// That the outcome is the undisturbed one or, where it may be, a failure on the way to that.
void ExpectOutcome(const Outcome& outcome, const Outcome& undisturbed, bool mayFail);

} // namespace VeskTest
