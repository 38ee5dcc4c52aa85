#include "memory_fault.hpp"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{

// How many allocations of this thread still succeed; negative for all.
thread_local long allocationsLeft = -1;
thread_local bool failsOnce = false;

void Fail()
{
    if (failsOnce) {
        allocationsLeft = -1;
    }
    throw std::bad_alloc();
}

void* Allocate(std::size_t size)
{
    if (allocationsLeft == 0) {
        Fail();
    }
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    void* memory = std::malloc(size == 0 ? 1 : size);
    return memory == nullptr ? throw std::bad_alloc() : memory;
}

void Begin(long allocations, bool once)
{
    allocationsLeft = allocations;
    failsOnce = once;
}

} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace VeskTest
{

MemoryFor::MemoryFor(long allocations)
{
    Begin(allocations, false);
}

MemoryFor::~MemoryFor()
{
    allocationsLeft = -1;
}

AllocationFault::AllocationFault(long allocations)
{
    Begin(allocations, true);
}

AllocationFault::~AllocationFault()
{
    allocationsLeft = -1;
}

bool AllocationFault::Struck()
{
    return allocationsLeft < 0;
}

} // namespace VeskTest
