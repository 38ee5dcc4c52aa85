// The system calls that looking at processes takes at least, and nothing made of what they give.
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace VeskBench
{

struct Read {
    long processes = 0;
    long links = 0;
    size_t bytes = 0;
};

// All links and maps of all processes.
Read ReadAllProcesses();

// The link and the files of a sample.
Read ReadForSample(pid_t pid);

} // namespace VeskBench
