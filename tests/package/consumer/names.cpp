// Uses the library from C++17; needs no systemd.
#include <iostream>
#include <stdexcept>
#include <string>

#include <vesksystemd.hpp>

int main()
{
    std::cout << VESK::Systemd::NormalizedUnitNameGet("foo") << '\n';
    VESK::Systemd::JobInfo info;
    if (VESK::Systemd::JobInfoParse("7 foo.service stop waiting", info)) {
        std::cout << info.ToString() << '\n';
    }
    try {
        VESK::Systemd::UnitPathGet("no-such-unit-anywhere");
    } catch (const std::runtime_error& error) {
        std::cout << error.what() << '\n';
    }
    return 0;
}
