// Programs run through the platform's calls, and what came of them.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace VeskTest
{

struct Result {
    bool started = false;
    std::string output;
    int status = -1; // raw, as VLIBCPclose gives it
};

// VLIBCPopenv() with argv[0] being the path.
FILE* OpenProgram(const std::vector<std::string>& words, const char* mode = "r");

// The rest of a stream, line by line as the callers of the platform read it.
std::string ReadLines(FILE* stream);

// Runs a program to its end.
Result RunProgram(const std::vector<std::string>& words, const char* mode = "r");

// The same for a line of shell.
Result RunScript(const std::string& script, const char* mode = "r");

// The platform's error record, as text: "0x0300 children.cpp".
std::string ErrorRecord();

// Opens so many descriptors that a program would inherit; false when the system does not let it.
bool OpenInheritable(int count);

// Raw wait statuses.
constexpr int ExitStatus(int code)
{
    return code << 8;
}

} // namespace VeskTest
