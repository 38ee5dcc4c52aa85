#include <clocale>
#include <exception>

#include "command.hpp"
#include "output.hpp"

int main(int nArguments, char** ppArguments)
{
    // For the width of characters alone; numbers and messages stay as they are.
    setlocale(LC_CTYPE, "");
    try {
        return static_cast<int>(Veskctl::Run(Veskctl::Groups(), nArguments, ppArguments));
    } catch (const std::exception& error) {
        Veskctl::Complain(error.what());
        return static_cast<int>(Veskctl::Exit::Failed);
    }
}
