// The library's calls on the registry's files, seen and spoilt by this program: it defines the calls itself and
// passes them on.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace VeskTest
{

// One at a time, and only while one thread changes registries. A call is "open PATH", "chown PATH", "chmod PATH",
// "write PATH", "sync PATH", "rename PATH PATH" or "unlink PATH"; those on other files are not seen.
class FileCalls
{
public:
    FileCalls();
    ~FileCalls();
    FileCalls(const FileCalls&) = delete;
    FileCalls& operator=(const FileCalls&) = delete;

    // The calls since the last Take(), in their order.
    std::vector<std::string> Take();

    // The next calls of that text fail, one for each errno; so does "close PATH", which is not seen otherwise.
    void Fail(const std::string& call, const std::vector<int>& errors);

    bool IsToFail(const std::string& call) const
    {
        const auto it = m_errors.find(call);
        return it != m_errors.end() && !it->second.empty();
    }

    // Each write takes no more than so many bytes.
    void WriteAtMost(std::size_t bytes) { m_most = bytes; }

    // Runs before each call.
    void Before(std::function<void(const std::string&)> action) { m_before = std::move(action); }

    // For the calls that stand for the C library's: 0, or the errno to fail with.
    int Judge(const std::string& call);
    std::size_t Most() const { return m_most; }

private:
    std::vector<std::string> m_calls;
    std::map<std::string, std::vector<int>> m_errors;
    std::size_t m_most = SIZE_MAX;
    std::function<void(const std::string&)> m_before;
};

} // namespace VeskTest
