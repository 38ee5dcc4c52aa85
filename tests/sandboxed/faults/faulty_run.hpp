// A process in which calls fail: the n-th of a kind, once or from there on.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "children.hpp"

namespace VeskTest
{

// A kind of calls, and how they fail.
enum class Calls {
    Memory,     // malloc and its like, those of the C library included: ENOMEM
    Map,        // memory that is asked of the kernel: ENOMEM
    Open,       // EMFILE
    Pipe,       // EMFILE
    Duplicate,  // EMFILE
    Read,       // EIO
    Write,      // ENOSPC
    Close,      // closes, and says EIO
    Fork,       // EAGAIN
    Exec,       // ENOMEM
    Wait,       // ECHILD, as where somebody else has waited
    Rename,     // EIO
    Sync,       // EIO
    Unlink,     // EIO
    Make,       // folders, links and lengths of files: ENOSPC
    Give,       // owners and modes: EIO
    Look,       // stat, access, readlink and their like: ENOMEM
    ReadFolder, // EIO
    Lock,       // ENOLCK
};

std::string NameOf(Calls calls);
const std::vector<Calls>& AllCalls();

struct Fault {
    Calls calls = Calls::Memory;
    int number = 0;       // from 1
    bool onwards = false; // all from that one on fail, not that one alone
};

struct FaultyRun {
    Ending ending;
    bool struck = false; // the fault came to pass
};

// Whether VESK_TEST_FAULTS in the environment asks for all faults and all kills; else the tests take a part of them.
bool HasAllFaults();

// Runs FUNCTION in a forked child. Its calls between FaultsBegin and FaultsEnd fail, whatever library makes them,
// those of its forked children too until they become another program.
FaultyRun RunWithFault(const Fault& fault, const std::function<void()>& function);

void FaultsBegin();
void FaultsEnd();

} // namespace VeskTest
