// Every exported operation that takes a name, in one table: whoever adds an operation adds its row.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace VeskTest
{

// What a name is the name of, which decides what may become of it.
enum class Names {
    Units,          // units of an action, handed to systemctl as they are
    OneUnit,        // one, which must not be empty
    Services,       // services that have reasons
    OneService,     // one, which must not be empty
    Reason,         // a reason
    Package,        // an installed package that has a registry
    RegisteredUnit, // a unit that has a registry
    Queried,        // a unit or a package whose registry is asked, which may be empty
    Volume,         // a volume in a registry
    QueriedVolume,  // one that is looked for in a registry
    Mark,           // a unit with a mark
    UnitFile,       // a unit whose file is read
    Slice,          // a slice that is moved into
    KilledSlice,    // a path of a slice
    Target,         // a target that is isolated to
    MountPath,      // a path whose users are looked for
    Hierarchy,      // a hierarchy of control groups whose files are written
    Group           // a slice or a hierarchy that is only looked for
};

struct NamedOperation {
    std::string symbol; // as in the list of exported symbols
    Names names;
    std::function<bool(const std::string&)> call; // whether the operation tells success

    bool IsC() const { return symbol.rfind("VESKC", 0) == 0; }
};

std::ostream& operator<<(std::ostream& stream, const NamedOperation& operation);

// The function without its parameters, as a word.
std::string OperationName(const NamedOperation& operation);

const std::vector<NamedOperation>& NamedOperations();

} // namespace VeskTest
