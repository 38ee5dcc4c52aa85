// glob(3), in the test program and in all libraries that it uses, with an answer of the test's.
#pragma once

#include <glob.h>
#include <string>

namespace VeskTest
{

// While it lives, glob finds nothing and answers so, for patterns with that ending.
class GlobFault
{
public:
    explicit GlobFault(int answer, const std::string& ending = "");
    ~GlobFault();
    GlobFault(const GlobFault&) = delete;
    GlobFault& operator=(const GlobFault&) = delete;

    // What glob was asked for last.
    static const std::string& Pattern();
    static int Flags();
    static bool HadCallback();
};

} // namespace VeskTest
