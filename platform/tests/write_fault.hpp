// The calls that bring a file to the disk, seen and spoilt on demand: the program defines fsync(), close() and
// rename() itself, which the platform finds first.
#pragma once

#include <string>
#include <vector>

namespace VeskTest
{

// One at a time. Sees the calls of this process.
class WriteSpy
{
public:
    WriteSpy();
    ~WriteSpy();
    WriteSpy(const WriteSpy&) = delete;
    WriteSpy& operator=(const WriteSpy&) = delete;

    // The syncs and renames, and the closing of temporary files, in their order: "fsync NAME", with "TMP" for the
    // name of a temporary file.
    const std::vector<std::string>& Calls() const { return m_calls; }

    // From now on that call fails, after its work is done.
    void Fail(const std::string& call, int error);

    // For the calls that stand for the C library's.
    int Note(const std::string& call, int result);

private:
    std::vector<std::string> m_calls;
    std::string m_failing;
    int m_error = 0;
};

} // namespace VeskTest
