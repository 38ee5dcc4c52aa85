#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>

#include "command.hpp"
#include "completion.hpp"
#include "help.hpp"
#include "output.hpp"

namespace Veskctl
{
namespace
{

/** What the build and the shells ask for, and no operator; false for anything else. */
bool Asked(const Texts& vecArguments)
{
    if (vecArguments.empty() || (vecArguments[0] != "--complete" && vecArguments[0] != "--man-page")) {
        return false;
    }
    const Texts vecRest(vecArguments.begin() + 1, vecArguments.end());
    if (vecArguments[0] == "--complete") {
        Complete(Groups(), vecRest);
    } else {
        std::cout << ManPage(Groups(), vecRest.empty() ? "" : vecRest[0]);
    }
    return true;
}

/** Whether all is where it was printed to; complains when it is not. */
bool IsWritten()
{
    if (std::cout << std::flush) {
        return true;
    }
    Complain("the output could not be written");
    return false;
}

Exit Main(int nArguments, char** ppArguments)
{
    const Texts vecArguments(ppArguments + (nArguments > 0 ? 1 : 0), ppArguments + nArguments);
    return Asked(vecArguments) ? Exit::Done : Run(Groups(), nArguments, ppArguments);
}

} // namespace
} // namespace Veskctl

int main(int nArguments, char** ppArguments)
{
    // For the width of characters alone; numbers and messages stay as they are.
    setlocale(LC_CTYPE, "");
    // Whoever starts this may ignore it, and then no child's end is told.
    signal(SIGCHLD, SIG_DFL);
    try {
        const Veskctl::Exit result = Veskctl::Main(nArguments, ppArguments);
        return static_cast<int>(Veskctl::IsWritten() ? result : Veskctl::Exit::Failed);
    } catch (const std::exception& error) {
        Veskctl::Complain(error.what());
        return static_cast<int>(Veskctl::Exit::Failed);
    }
}
