#pragma once

#include <iosfwd>
#include <map>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <vector>

namespace VeskTest
{

// What a process holds and an operation may leave behind: descriptors, children, and how it treats signals.
struct Holdings {
    std::map<int, std::string> descriptors;
    std::vector<pid_t> running;
    std::vector<pid_t> zombies;
    std::string signals; // the lines of /proc/self/status on blocked, ignored and caught signals
    std::string folder;
    unsigned mask = 0;

    // The connection to syslog is opened before, since it stays open.
    static Holdings Now();
};

bool operator==(const Holdings& left, const Holdings& right);
std::ostream& operator<<(std::ostream& stream, const Holdings& holdings);

} // namespace VeskTest
