// Allocations by operator new that fail on demand, in the test program and in all libraries that it uses. The
// program links vesk_memory_fault, which replaces the operators.
#pragma once

namespace VeskTest
{

// For this thread and what it forks, to the end of the scope: memory is used up after so many allocations.
class MemoryFor
{
public:
    explicit MemoryFor(long allocations);
    ~MemoryFor();
    MemoryFor(const MemoryFor&) = delete;
    MemoryFor& operator=(const MemoryFor&) = delete;
};

// The same, but only the one allocation after these fails.
class AllocationFault
{
public:
    explicit AllocationFault(long allocations);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    // Whether it has failed.
    static bool Struck();
};

} // namespace VeskTest
