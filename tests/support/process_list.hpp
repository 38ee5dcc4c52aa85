#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace VeskTest
{

// The other processes that run this test's program: what it has forked and what they have forked.
std::vector<pid_t> OtherProcessesOfThisProgram();

// The processes that hold an open descriptor of the file, sorted.
std::vector<pid_t> ProcessesWithOpen(const std::string& path);

// The processes whose command line contains the text, sorted.
std::vector<pid_t> ProcessesThatRun(const std::string& text);

} // namespace VeskTest
