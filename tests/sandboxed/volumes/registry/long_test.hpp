#pragma once

#include <chrono>
#include <cstdlib>

namespace VeskTest
{

// The end of a test that runs as long as VESK_TEST_SECONDS says, two seconds without it.
class Deadline
{
public:
    bool IsOver() const { return std::chrono::steady_clock::now() >= m_end; }

    static std::chrono::seconds Length()
    {
        const char* text = std::getenv("VESK_TEST_SECONDS");
        return std::chrono::seconds(text != nullptr ? std::atoi(text) : 2);
    }

private:
    std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::now() + Length();
};

} // namespace VeskTest
