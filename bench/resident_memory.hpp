#pragma once

#include <cstddef>

namespace VeskBench
{

// So many megabytes in use, as long as it lives.
class ResidentMemory
{
public:
    explicit ResidentMemory(int megabytes);
    ~ResidentMemory();
    ResidentMemory(const ResidentMemory&) = delete;
    ResidentMemory& operator=(const ResidentMemory&) = delete;

private:
    size_t m_size;
    void* m_memory;
};

} // namespace VeskBench
