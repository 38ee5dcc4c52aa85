#include "resident_memory.hpp"

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace VeskBench
{

ResidentMemory::ResidentMemory(int megabytes)
    : m_size(static_cast<size_t>(megabytes) << 20U)
    , m_memory(mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
{
    if (m_memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    // Small pages, as the heap of a program that has grown over time has them.
    madvise(m_memory, m_size, MADV_NOHUGEPAGE);
    std::memset(m_memory, 1, m_size);
}

ResidentMemory::~ResidentMemory()
{
    munmap(m_memory, m_size);
}

} // namespace VeskBench
