#pragma once

#include <string>

#include "children.hpp"

namespace VeskTest
{

struct ShellResult {
    Ending ending;
    std::string output; // standard output and, where the command says 2>&1, standard error
};

// Runs a command line of /bin/sh and waits for it.
ShellResult RunShell(const std::string& command);

} // namespace VeskTest
