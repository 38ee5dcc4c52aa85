// veskctl as it is used: its command line, what it prints, its exit code, and what it has systemctl do.
#pragma once

#include <ostream>
#include <string>

#include <json/value.h>

#include "systemctl_script.hpp"

namespace VeskTest
{

struct Use {
    int exitCode = -1;
    std::string out;
    std::string err;
};
bool operator==(const Use& left, const Use& right);
std::ostream& operator<<(std::ostream& stream, const Use& use);

// Runs veskctl with these arguments, as a shell reads them.
Use Veskctl(const std::string& arguments);

// The same at a terminal on which INPUT is typed; its errors are in what it prints, and lines end as a terminal's do.
Use VeskctlAtTerminal(const std::string& arguments, const std::string& input);

// What it prints as JSON; a failure of the test when that is none.
Json::Value VeskctlJson(const std::string& arguments);

// What systemctl is asked for the state of a unit, and an answer of it.
std::vector<std::string> StateQuestion(const std::string& unit);
std::string StateAnswer(const std::string& active, const std::string& sub,
                        const std::string& result = "success", int status = 0);
std::string NotFoundAnswer(const std::string& unit);

} // namespace VeskTest
